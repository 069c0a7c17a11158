// How DFT plans are made, for start-up and for tests. Plans are shared by the whole process and kept
// until it ends, so that a repeated size costs no planning.
#pragma once

// Makes FFTW's planner safe for every user of it in this process, plug-ins included. The first thing
// in the process; called again, or late, it does no harm. Any thread.
void initializePrimitives();

enum class Planning {
    Estimate, // plans by rule of thumb, about a millisecond each
    Measured, // plans by trial: faster ones for long transforms, 0.2 s to 0.8 s each, made while the caller
              // waits
};

// Says which plans the transforms get that are made from now on; older ones of the same length and
// kind go over to it with them, since they share their plans. Any thread.
void setPlanning(Planning planning);
