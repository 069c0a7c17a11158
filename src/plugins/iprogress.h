// How far a long call of a plug-in is.
#pragma once

// GUI thread, within execute(). The order of the operations is part of the contract with plug-ins.
class IProgress
{
public:
    // `share`, 0 to 1, is done. Once the call has taken a second a dialog shows it, with a button to cancel:
    // false from then on, and execute() answers false with nothing changed. May run the event loop, in which
    // the views draw and show what was changed so far. To be called some tens of times a second; more costs
    // next to nothing.
    virtual bool goesOn(double share) = 0;
    virtual ~IProgress() = default;
};
