#include "shell/windowprogress.h"

#include <QCoreApplication>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>

namespace velmara {

void WindowProgress::Start(long maximum)
{
    mBar->setRange(0, static_cast<int>(std::clamp(maximum, 0L, 2147483647L)));
    mBar->setValue(0);
    mBar->setVisible(true);
    mCancel->setEnabled(true);
    QCoreApplication::processEvents();
}

void WindowProgress::SetValue(long value)
{
    mBar->setValue(static_cast<int>(std::clamp(value, 0L, static_cast<long>(mBar->maximum()))));
}

void WindowProgress::Yield()
{
    QCoreApplication::processEvents();
}

void WindowProgress::Finish()
{
    mBar->setVisible(false);
    mCancel->setEnabled(false);
}

} // namespace velmara
