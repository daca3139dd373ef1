#pragma once
// How a long pass (decode, scan) reports progress and lets the caller breathe. The desktop program
// answers Yield() with processEvents, during which the Cancel button may set CancelRequested;
// the command-line program draws a progress line. The passes poll CancelRequested after Yield().

namespace velmara {

class ProgressSink
{
public:
    virtual ~ProgressSink() = default;
    // The pass begins: the bar runs from 0 to maximum.
    virtual void Start(long maximum) { (void)maximum; }
    virtual void SetValue(long value) { (void)value; }
    // Called once per line (scan) or every tenth line (decode).
    virtual void Yield() {}
    // The pass ended, whether completed or cancelled: the bar goes away.
    virtual void Finish() {}
};

// A sink that does nothing, for tests and batch use without a display.
inline ProgressSink &NoProgress()
{
    static ProgressSink sink;
    return sink;
}

} // namespace velmara
