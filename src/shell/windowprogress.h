#pragma once
// The progress of a long pass in the main window: the bar shows while the pass runs (which is
// also the sign to other commands that one runs), Cancel is live, and the message loop runs at
// every yield so that the window stays responsive and Cancel can be clicked.

#include "core/progress.h"

class QProgressBar;
class QPushButton;

namespace velmara {

class WindowProgress : public ProgressSink
{
public:
    WindowProgress(QProgressBar *bar, QPushButton *cancel) : mBar(bar), mCancel(cancel) {}

    void Start(long maximum) override;
    void SetValue(long value) override;
    void Yield() override;
    void Finish() override;

private:
    QProgressBar *mBar;
    QPushButton *mCancel;
};

} // namespace velmara
