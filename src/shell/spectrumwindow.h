#pragma once
// A small window beside the statistics frame with the figures of the whole droplet spectrum of
// what the frame shows: the card on show, or the composite in the composite view, inside the
// selected size range when there is one. The main window refreshes it with its labels.

#include "core/workspace.h"

#include <QWidget>

#include <array>

class QLabel;

namespace velmara {

class SpectrumWindow : public QWidget
{
public:
    explicit SpectrumWindow(QWidget *parent);

    // Reads the figures of what is on show; nothing is computed while the window is hidden.
    void refresh(const Workspace &ws);

private:
    QLabel *mSubject = nullptr;
    std::array<QLabel *, 9> mValues{};
};

} // namespace velmara
