#include "shell/spectrumwindow.h"

#include "statistics/range.h"
#include "statistics/spectrum.h"
#include "views/textforms.h"

#include <QGridLayout>
#include <QLabel>

namespace velmara {

namespace {

const QString kMicrons = QStringLiteral(" %1m").arg(QChar(0x00B5));

struct Figure
{
    const char *name;    // object name of the value label
    const char *caption;
};

const Figure kFigures[9] = {
    {"Dv10Value", "Dv0.1:"},          {"Dv50Value", "Dv0.5 (VMD):"},   {"Dv90Value", "Dv0.9:"},
    {"SpanValue", "Relative Span:"},  {"NmdValue", "NMD:"},            {"CoverageValue", "Coverage:"},
    {"Below100Value", "Volume < 100"}, {"Below150Value", "Volume < 150"}, {"Below200Value", "Volume < 200"},
};

QString Percent(double share) { return FixedText(share * 100, 1) + QStringLiteral(" %"); }

} // namespace

SpectrumWindow::SpectrumWindow(QWidget *parent) : QWidget(parent, Qt::Tool)
{
    setObjectName(QStringLiteral("SpectrumWindow"));
    setWindowTitle(QStringLiteral("Droplet Spectrum"));
    auto *grid = new QGridLayout(this);
    grid->setHorizontalSpacing(12);
    grid->setVerticalSpacing(2);
    mSubject = new QLabel(this);
    mSubject->setObjectName(QStringLiteral("SpectrumSubject"));
    QFont bold = mSubject->font();
    bold.setBold(true);
    mSubject->setFont(bold);
    grid->addWidget(mSubject, 0, 0, 1, 2);
    for (int k = 0; k < 9; ++k) {
        QString caption = QString::fromLatin1(kFigures[k].caption);
        if (k >= 6)
            caption += kMicrons + QLatin1Char(':');
        grid->addWidget(new QLabel(caption, this), k + 1, 0);
        mValues[static_cast<size_t>(k)] = new QLabel(this);
        mValues[static_cast<size_t>(k)]->setObjectName(QLatin1String(kFigures[k].name));
        mValues[static_cast<size_t>(k)]->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        mValues[static_cast<size_t>(k)]->setMinimumWidth(70);
        grid->addWidget(mValues[static_cast<size_t>(k)], k + 1, 1);
    }
    setFixedSize(sizeHint().expandedTo(QSize(230, 0)));
}

void SpectrumWindow::refresh(const Workspace &ws)
{
    if (!isVisible())
        return;
    const bool ranged = RangeSelected(ws);
    QString subject;
    SpectrumFigures f;
    if (ws.CompositeCheck) {
        subject = QStringLiteral("Composite");
        f = CompositeSpectrum(ws, ranged);
    } else if (ws.CurrentCard >= 1 && ws.CurrentCard <= ws.CardCount()) {
        subject = QString::fromStdString(ws.Card(ws.CurrentCard).FileName);
        f = CardSpectrum(ws, ws.CurrentCard, ranged);
    } else {
        subject = QStringLiteral("No card");
    }
    if (ranged)
        subject += QStringLiteral(", ") + FixedText(ws.RangeLow, 1) + QStringLiteral(" - ")
            + FixedText(ws.RangeHigh, 1) + kMicrons;
    mSubject->setText(subject);
    const QString texts[9] = {
        FixedText(f.Dv10, 1) + kMicrons, FixedText(f.Dv50, 1) + kMicrons, FixedText(f.Dv90, 1) + kMicrons,
        FixedText(f.RelativeSpan, 2),    FixedText(f.Nmd, 1) + kMicrons,  FixedText(f.CoveragePercent, 2) + QStringLiteral(" %"),
        Percent(f.VolumeBelow100),       Percent(f.VolumeBelow150),       Percent(f.VolumeBelow200),
    };
    for (size_t k = 0; k < 9; ++k)
        mValues[k]->setText(texts[k]);
}

} // namespace velmara
