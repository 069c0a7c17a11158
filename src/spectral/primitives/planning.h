// How DFT plans are made, for start-up and for tests. Plans are shared by the whole process and kept
// until it ends, so that a repeated size costs no planning.
#pragma once

#include <QString>

#include <cstdint>

class DftPlan;
enum class DftKind;
enum class DftDirection;

// Makes FFTW's planner safe for every user of it in this process, plug-ins included. The first thing
// in the process; called again, or late, it does no harm. Any thread.
void initializePrimitives();

enum class Planning {
    Estimate, // plans by rule of thumb, about a millisecond each; in force until somebody says otherwise
    Measured, // plans by trial, up to twice as fast; 0.2 s to 5 s each, made while the caller waits
    // The program's way: an estimated plan at once, or a measured one that was kept from an earlier
    // start. Once a plan has run and the transforms have been quiet for a moment, a helper process of
    // lowest priority looks for a better one, which is taken over between two transforms. A process,
    // since the planner has one lock: a measurement in this one would hold up every new size.
    Upgrade,
};

// Says which plans the transforms get that are made from now on; older ones of the same length and
// kind go over to it with them, since they share their plans. Any thread.
void setPlanning(Planning planning);

// The file that keeps measured plans between starts, in the cache folder; reads it now, writes it
// after every measurement. A file that is missing, damaged, or of another processor or library
// version is passed over, and replaced later. Empty: nothing is kept. Any thread.
void setWisdomFile(const QString& path);

// Writes that file now; the search does it by itself, plans of Planning::Measured need it. Nothing
// without a file.
void keepMeasuredPlans();

// The helper program; by default "morvane-planner" beside this module. Without it estimated plans
// stay. Before the first transform runs.
void setPlannerProgram(const QString& path);

// Ends the search for better plans, without waiting for a measurement; what was found is kept. The
// end of the process does it too. Plans go on working, and none is upgraded until somebody asks for
// Planning::Upgrade again.
void shutdownPrimitives();

// For tests and benchmarks.
enum class PlanKind { Estimated, Measured };
[[nodiscard]] PlanKind planInForce(const DftPlan& plan, DftDirection direction);
// True when no search is under way or waiting.
[[nodiscard]] bool planSearchIdle();
// Calls of the planner so far in this process.
[[nodiscard]] int64_t planningCount();
