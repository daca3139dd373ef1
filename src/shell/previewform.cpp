#include "shell/previewform.h"

#include "reports/reportpages.h"
#include "shell/commondialogs.h"
#include "shell/sprayinfoform.h"
#include "views/pdfreport.h"
#include "views/qpainterreportcanvas.h"

#include <QFile>

#include <QComboBox>
#include <QFrame>
#include <QLabel>
#include <QMessageBox>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPrinter>
#include <QPrinterInfo>
#include <QPushButton>
#include <QTabBar>

namespace velmara {

namespace {

// The page at 50 pixels per inch plus the frame; 85 percent of that below 768 screen pixels.
constexpr int kPictureWidth = 427;
constexpr int kPictureHeight = 552;
constexpr int kSmallPictureWidth = 363;  // Int(0.85 * 850 / 2) + 2
constexpr int kSmallPictureHeight = 469; // Int(0.85 * 1100 / 2) + 2
constexpr int kSmallScreen = 768;

class SystemPrintJob : public PrintJob
{
public:
    explicit SystemPrintJob(const QPrinterInfo &info)
        : mPrinter(std::make_unique<QPrinter>(info, QPrinter::HighResolution))
    {
        mPrinter->setFullPage(true);
        mPrinter->setPageSize(QPageSize(QPageSize::Letter));
        mPrinter->setPageOrientation(QPageLayout::Portrait);
        mPrinter->setDocName(QStringLiteral("Velmara report"));
        QPrinter *printer = mPrinter.get();
        mCanvas = std::make_unique<QPainterReportCanvas>(printer, nullptr, [printer] { printer->abort(); });
    }
    ~SystemPrintJob() override { mCanvas.reset(); }

    bool active() const { return mCanvas->isActive(); }
    ReportCanvas &canvas() override { return *mCanvas; }

private:
    std::unique_ptr<QPrinter> mPrinter;
    std::unique_ptr<QPainterReportCanvas> mCanvas;
};

} // namespace

// --- SystemPrinters

QStringList SystemPrinters::printerNames()
{
    return QPrinterInfo::availablePrinterNames();
}

QString SystemPrinters::defaultPrinterName()
{
    return mChosen.isEmpty() ? QPrinterInfo::defaultPrinterName() : mChosen;
}

void SystemPrinters::setDefaultPrinter(const QString &name)
{
    mChosen = name;
}

std::unique_ptr<PrintJob> SystemPrinters::startJob(std::string &error)
{
    const QPrinterInfo info = QPrinterInfo::printerInfo(defaultPrinterName());
    if (info.isNull()) {
        error = "No printer is installed.";
        return nullptr;
    }
    auto job = std::make_unique<SystemPrintJob>(info);
    if (!job->active()) {
        error = "The printer " + info.printerName().toStdString() + " could not start the job.";
        return nullptr;
    }
    return job;
}

// --- PreviewPicture

PreviewPicture::PreviewPicture(int width, int height, QWidget *parent)
    : QWidget(parent), mImage(width - 2, height - 2, QImage::Format_RGB32)
{
    mImage.fill(Qt::white);
    setFixedSize(width, height);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void PreviewPicture::paintEvent(QPaintEvent *)
{
    QPainter p(this);
    p.setPen(QColor(128, 128, 128));
    p.setBrush(Qt::NoBrush);
    p.drawRect(0, 0, width() - 1, height() - 1);
    p.drawImage(1, 1, mImage);
}

// --- frmPreview2

frmPreview2::frmPreview2(Workspace &ws, PrinterAccess &printers, int screenHeight, char decimalSeparator,
                         QWidget *parent)
    : QDialog(parent), mWs(ws), mPrinters(printers), mSeparator(decimalSeparator)
{
    setWindowTitle(QStringLiteral("Velmara - Print"));
    setModal(true);
    PrepareReport(ws);

    // Form_Load
    const bool small = screenHeight < kSmallScreen;
    layOut(small ? kSmallPictureWidth : kPictureWidth, small ? kSmallPictureHeight : kPictureHeight);
    mCanvas = std::make_unique<QPainterReportCanvas>(Picture1->image());

    connect(cmbPrinters, &QComboBox::currentIndexChanged, this, [this](int) {
        if (!mLoading)
            cmbPrinters_Click();
    });
    connect(PreviewTabs, &QTabBar::tabBarClicked, this, [this](int index) {
        if (index >= 0)
            PreviewTabs_Click(index + 1);
    });
    connect(PreviewTabs, &QTabBar::currentChanged, this, [this](int index) {
        if (index >= 0 && !mLoading)
            PreviewTabs_Click(index + 1);
    });
    connect(btnPrint, &QPushButton::clicked, this, [this] { btnPrint_Click(); });

    fillPrinters();
    mLoading = false;
}

frmPreview2::~frmPreview2() = default;

void frmPreview2::layOut(int pictureWidth, int pictureHeight)
{
    constexpr int tabLeft = 5;
    Label1 = new QLabel(QStringLiteral("Printer:"), this);
    Label1->setGeometry(50, 5, 80, 16);

    const int tabWidth = pictureWidth + 11;
    const int tabHeight = pictureHeight + 31;
    btnPrint = new QPushButton(QStringLiteral("Print"), this);
    // Escape is the preview's one key: Return must not print, and Print is a click.
    btnPrint->setAutoDefault(false);
    btnPrint->setDefault(false);
    btnPrint->setFocusPolicy(Qt::NoFocus);
    const int rowTop = Label1->y() + Label1->height();
    btnPrint->setGeometry(tabLeft + tabWidth - 75, rowTop, 75, 25);
    cmbPrinters = new QComboBox(this);
    const int comboLeft = Label1->x() + 7;
    cmbPrinters->setGeometry(comboLeft, rowTop, btnPrint->x() - 5 - comboLeft, 25);

    const int tabTop = btnPrint->y() + btnPrint->height() + 5;
    PreviewTabs = new QTabBar(this);
    for (int i = 1; i <= ReportPageCount(mWs); ++i)
        PreviewTabs->addTab(QStringLiteral("Page %1").arg(i));
    PreviewTabs->setExpanding(false);
    PreviewTabs->setGeometry(tabLeft, tabTop, tabWidth, 22);
    mTabBody = new QFrame(this);
    mTabBody->setFrameShape(QFrame::StyledPanel);
    mTabBody->setGeometry(tabLeft, tabTop + 21, tabWidth, tabHeight - 21);
    Picture1 = new PreviewPicture(pictureWidth, pictureHeight, this);
    Picture1->move(tabLeft + (tabWidth - pictureWidth) / 2, tabTop + 25);
    Picture1->raise();

    setFixedSize(tabWidth + 2 * tabLeft + 6, tabTop + tabHeight + 28);
}

void frmPreview2::fillPrinters()
{
    // Without any system printer the list holds the PDF entry alone, and the pages are drawn all
    // the same: the picture needs no printer.
    const QStringList names = mPrinters.printerNames();
    const QString current = mPrinters.defaultPrinterName();
    int chosen = 0;
    for (int i = 0; i < names.size(); ++i) {
        cmbPrinters->addItem(names[i]);
        if (names[i].compare(current, Qt::CaseInsensitive) == 0)
            chosen = i; // the last match counts
    }
    cmbPrinters->addItem(QString::fromLatin1(kSaveAsPdfEntry));
    cmbPrinters->setCurrentIndex(chosen);
    cmbPrinters_Click();
}

bool frmPreview2::pdfChosen() const
{
    return cmbPrinters->currentIndex() == cmbPrinters->count() - 1;
}

void frmPreview2::clearPicture()
{
    mCanvas->Cls();
    mCanvas->flush();
    Picture1->repaint();
}

void frmPreview2::drawPage(int page)
{
    ReportHooks hooks;
    hooks.ShowMessage = [this](const std::string &m) { showMessage(m); };
    mPagesDrawn.push_back(page);
    PrintSub2(mWs, *mCanvas, false, page, hooks, mSeparator);
    mCanvas->flush();
    Picture1->update();
}

void frmPreview2::cmbPrinters_Click()
{
    if (cmbPrinters->currentIndex() < 0)
        return;
    clearPicture();
    if (!pdfChosen())
        mPrinters.setDefaultPrinter(cmbPrinters->currentText());
    drawPage(PreviewTabs->currentIndex() + 1);
}

void frmPreview2::PreviewTabs_Click(int tabIndex)
{
    if (tabIndex == mTabField)
        return;
    clearPicture();
    drawPage(tabIndex);
    mTabField = tabIndex;
}

void frmPreview2::saveAsPdf()
{
    SystemFileChooser system;
    CCommonDialogs dialog;
    dialog.Init(this, mFiles ? *mFiles : system);
    dialog.Title = QString::fromLatin1(kSaveAsPdfTitle);
    dialog.Filter = QString::fromLatin1(kPdfFilter);
    dialog.DefExt = QStringLiteral("pdf");
    // Cancel leaves the preview open: nothing was asked of the printer yet.
    if (!dialog.ShowSave())
        return;
    std::string error;
    if (!WritePdfReport(mWs, QFile::encodeName(dialog.FileName).toStdString(), error, nullptr, mSeparator))
        showMessage(error);
    accept();
}

void frmPreview2::btnPrint_Click()
{
    if (pdfChosen()) {
        saveAsPdf();
        return;
    }
    std::string error;
    std::unique_ptr<PrintJob> job = mPrinters.startJob(error);
    if (!job) {
        showMessage(kReportErrorLead + error);
    } else {
        ReportHooks hooks;
        hooks.PageStarted = [this](int page) {
            setWindowTitle(QString::fromStdString(PrintingCaption(page)));
            repaint();
        };
        hooks.ShowMessage = [this](const std::string &m) { showMessage(m); };
        PrintSub2(mWs, job->canvas(), true, 0, hooks, mSeparator);
    }
    accept();
}

const QImage &frmPreview2::pageImage() const
{
    return Picture1->image();
}

void frmPreview2::showMessage(const std::string &text)
{
    QString shown = QString::fromStdString(text);
    shown.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    if (mMessageHook) {
        mMessageHook(shown);
        return;
    }
    QMessageBox::information(this, QStringLiteral("Velmara"), shown);
}

bool RunPrintCommand(QWidget *parent, Workspace &ws, SettingsAccess &settings, PrinterAccess &printers,
                     int screenHeight, char decimalSeparator, const PrintCommandHooks &hooks)
{
    const bool accepted =
        hooks.SprayDialog ? hooks.SprayDialog() : ShowSprayInfoForm(parent, ws, settings);
    if (parent)
        parent->repaint();
    if (!accepted)
        return false;
    frmPreview2 preview(ws, printers, screenHeight, decimalSeparator, parent);
    if (hooks.ShowPreview)
        hooks.ShowPreview(preview);
    else
        preview.exec();
    return true;
}

} // namespace velmara
