#include "shell/loadtemplateform.h"

#include "dialogs/numbertext.h"
#include "core/numberform.h"
#include "settings/settingkeys.h"
#include "shell/numerickeyfilter.h"
#include "shell/templatemanagerform.h"
#include "templates/sheetcutter.h"

#include <QApplication>
#include <QComboBox>
#include <QFocusEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPushButton>
#include <QTimer>
#include <QToolButton>

#include <algorithm>
#include <cmath>
#include <vector>

namespace velmara {

namespace {

constexpr int kMargin = 10;
constexpr int kPanelWidth = 150;
constexpr int kMaxPictureWidth = 900;

// Picture1: paints through the dialog and reports presses in its own pixels.
class SheetView : public QWidget
{
public:
    SheetView(std::function<void(QPainter &)> paint, std::function<void(QPoint)> press, QWidget *parent)
        : QWidget(parent), mPaint(std::move(paint)), mPress(std::move(press))
    {
        setFocusPolicy(Qt::StrongFocus);
        setAttribute(Qt::WA_OpaquePaintEvent);
    }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        mPaint(painter);
    }
    void mousePressEvent(QMouseEvent *event) override
    {
        setFocus(Qt::MouseFocusReason);
        mPress(event->position().toPoint());
    }

private:
    std::function<void(QPainter &)> mPaint;
    std::function<void(QPoint)> mPress;
};

// The scan brought down (or up) to the picture box once. Each shown pixel averages at most 4 x 4
// evenly spread samples of its area: a 1200-dpi letter sheet would otherwise cost a pass over all
// of its 134 million pixels, and the view needs no more to show where the cards lie.
QImage ScaleForView(const Picture &picture, int width, int height)
{
    QImage out(std::max(1, width), std::max(1, height), QImage::Format_RGB32);
    out.fill(Qt::white);
    if (picture.Width <= 0 || picture.Height <= 0 || picture.Data.empty())
        return out;
    width = out.width();
    height = out.height();

    std::array<QRgb, 256> table{};
    for (size_t i = 0; i < picture.Palette.size() && i < table.size(); ++i) {
        const PaletteEntry &e = picture.Palette[i];
        table[i] = qRgb(e.Red, e.Green, e.Blue);
    }
    const auto samples = [](int source, int shown, std::vector<int> &at) {
        const double factor = static_cast<double>(source) / shown;
        const int per = std::clamp(static_cast<int>(std::ceil(factor)), 1, 4);
        at.resize(static_cast<size_t>(shown) * per);
        for (int o = 0; o < shown; ++o)
            for (int k = 0; k < per; ++k)
                at[static_cast<size_t>(o) * per + k] =
                    std::min(source - 1, static_cast<int>((o + (k + 0.5) / per) * factor));
        return per;
    };
    std::vector<int> cols;
    std::vector<int> rows;
    const int perX = samples(picture.Width, width, cols);
    const int perY = samples(picture.Height, height, rows);
    const int count = perX * perY;

    for (int oy = 0; oy < height; ++oy) {
        auto *line = reinterpret_cast<QRgb *>(out.scanLine(oy));
        for (int ox = 0; ox < width; ++ox) {
            int r = 0, g = 0, b = 0;
            for (int ky = 0; ky < perY; ++ky) {
                const Byte *src = picture.Row(rows[static_cast<size_t>(oy) * perY + ky]);
                for (int kx = 0; kx < perX; ++kx) {
                    const int x = cols[static_cast<size_t>(ox) * perX + kx];
                    if (picture.Indexed()) {
                        const QRgb c = table[src[x]];
                        r += qRed(c), g += qGreen(c), b += qBlue(c);
                    } else {
                        const Byte *p = src + static_cast<size_t>(x) * 3;
                        r += p[0], g += p[1], b += p[2];
                    }
                }
            }
            line[ox] = qRgb(r / count, g / count, b / count);
        }
    }
    return out;
}

Integer ReadCount(SettingsAccess &settings, const SettingKey &key)
{
    const auto v = TextAsInteger(settings.GetSetting(key.section, key.key, key.defaultText));
    // A count the grid cannot hold never reaches it.
    if (!v || *v < kMinCount || *v > kMaxCount)
        return *TextAsInteger(key.defaultText);
    return *v;
}

Single ReadLength(SettingsAccess &settings, const SettingKey &key, bool zeroAllowed)
{
    const auto v = TextAsSingle(settings.GetSetting(key.section, key.key, key.defaultText));
    if (!v || !std::isfinite(*v) || *v < 0 || (*v == 0 && !zeroAllowed))
        return *TextAsSingle(key.defaultText);
    return *v;
}

} // namespace

LoadTemplateForm::LoadTemplateForm(Workspace &ws, SettingsAccess &settings, int screenHeight, QWidget *parent)
    : QDialog(parent), mWs(ws), mSettings(settings), mPictureHeight(screenHeight == 600 ? 450 : 520)
{
    setWindowTitle(QStringLiteral("Load Card Template"));
    TemplateName = settings.GetSetting(SettingKeys::TemplateName.section, SettingKeys::TemplateName.key,
                                       SettingKeys::TemplateName.defaultText);
    TemplateNumH = ReadCount(settings, SettingKeys::TemplateNumH);
    TemplateNumV = ReadCount(settings, SettingKeys::TemplateNumV);
    TemplateSizeH = ReadLength(settings, SettingKeys::TemplateSizeH, false);
    TemplateSizeV = ReadLength(settings, SettingKeys::TemplateSizeV, false);
    TemplateSpaceH = ReadLength(settings, SettingKeys::TemplateSpaceH, true);
    TemplateSpaceV = ReadLength(settings, SettingKeys::TemplateSpaceV, true);
    buildControls();
    layoutControls(mPictureHeight * 2 / 3);
    // The arrow keys shift the grid whatever control has the focus.
    qApp->installEventFilter(this);
}

LoadTemplateForm::~LoadTemplateForm()
{
    qApp->removeEventFilter(this);
}

void LoadTemplateForm::buildControls()
{
    Picture1 = new SheetView([this](QPainter &p) { paintPicture(p); },
                             [this](QPoint pixel) { pictureClicked(pixel); }, this);
    Picture1->setObjectName(QStringLiteral("Picture1"));

    const Qt::ArrowType arrows[5] = {Qt::NoArrow, Qt::UpArrow, Qt::RightArrow, Qt::DownArrow, Qt::LeftArrow};
    const char *const tips[5] = {"", "Move the grid up", "Move the grid right", "Move the grid down",
                                 "Move the grid left"};
    for (int i = 1; i <= 4; ++i) {
        auto *button = new QToolButton(this);
        button->setArrowType(arrows[i]);
        button->setToolTip(QString::fromLatin1(tips[i]));
        button->setAutoRepeat(true);
        ShiftButton[static_cast<size_t>(i)] = button;
        connect(button, &QToolButton::clicked, this,
                [this, i] { ShiftButton_Click(static_cast<ShiftDirection>(i)); });
    }

    ResCombo = new QComboBox(this);
    ResCombo->setEditable(true);
    ResCombo->setInsertPolicy(QComboBox::NoInsert);
    for (const char *res : {"150", "300", "600", "900", "1200", "2400"})
        ResCombo->addItem(QString::fromLatin1(res));
    ResCombo->installEventFilter(this);
    ResCombo->lineEdit()->installEventFilter(this);
    connect(ResCombo, &QComboBox::activated, this, [this](int) { applyResolution(); });

    btnTemplates = new QPushButton(QStringLiteral("&Templates"), this);
    btnOK = new QPushButton(QStringLiteral("OK"), this);
    CancelButton = new QPushButton(QStringLiteral("Cancel"), this);
    for (QPushButton *b : {btnTemplates, btnOK, CancelButton})
        b->setAutoDefault(false);
    btnOK->setDefault(true);
    connect(btnTemplates, &QPushButton::clicked, this, &LoadTemplateForm::btnTemplates_Click);
    connect(btnOK, &QPushButton::clicked, this, &LoadTemplateForm::btnOK_Click);
    connect(CancelButton, &QPushButton::clicked, this, &QDialog::reject);

    LoadingLabel = new QLabel(QStringLiteral("\n     Loading Image...     \n"), this);
    LoadingLabel->setFrameShape(QFrame::Box);
    LoadingLabel->setAutoFillBackground(true);
    LoadingLabel->setAlignment(Qt::AlignCenter);
    LoadingLabel->adjustSize();
    LoadingLabel->hide();

    auto *resLabel = new QLabel(QStringLiteral("Image &Resolution:"), this);
    resLabel->setObjectName(QStringLiteral("ResLabel"));
    resLabel->setBuddy(ResCombo);
    auto *dpiLabel = new QLabel(QStringLiteral("dpi"), this);
    dpiLabel->setObjectName(QStringLiteral("DpiLabel"));
}

void LoadTemplateForm::layoutControls(int pictureWidth)
{
    int width = std::clamp(pictureWidth, 1, kMaxPictureWidth);
    int height = mPictureHeight;
    if (pictureWidth > kMaxPictureWidth) // a very wide sheet keeps its ratio in a lower box
        height = std::max(1, static_cast<int>(std::lround(static_cast<double>(height) * kMaxPictureWidth / pictureWidth)));
    Picture1->setGeometry(kMargin, kMargin, width, height);
    LoadingLabel->move(kMargin + (width - LoadingLabel->width()) / 2, kMargin + (height - LoadingLabel->height()) / 2);

    const int x = kMargin + width + 14;
    const int s = 30;
    ShiftButton[1]->setGeometry(x + s + 15, kMargin, s, s);
    ShiftButton[4]->setGeometry(x + 15, kMargin + s, s, s);
    ShiftButton[2]->setGeometry(x + 2 * s + 15, kMargin + s, s, s);
    ShiftButton[3]->setGeometry(x + s + 15, kMargin + 2 * s, s, s);
    findChild<QLabel *>(QStringLiteral("ResLabel"))->setGeometry(x, 120, kPanelWidth, 18);
    ResCombo->setGeometry(x, 140, 90, 26);
    findChild<QLabel *>(QStringLiteral("DpiLabel"))->setGeometry(x + 96, 140, 40, 26);
    btnTemplates->setGeometry(x, 190, 120, 28);
    const int bottom = std::max(kMargin + height, 300);
    btnOK->setGeometry(x, bottom - 64, 120, 28);
    CancelButton->setGeometry(x, bottom - 28, 120, 28);
    setFixedSize(x + kPanelWidth, bottom + kMargin);
}

CardTemplate LoadTemplateForm::currentTemplate() const
{
    CardTemplate t;
    t.Name = TemplateName;
    t.NumH = TemplateNumH;
    t.SizeH = TemplateSizeH;
    t.SpaceH = TemplateSpaceH;
    t.NumV = TemplateNumV;
    t.SizeV = TemplateSizeV;
    t.SpaceV = TemplateSpaceV;
    return t;
}

void LoadTemplateForm::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    if (!mPictureLoaded && mLoadError.empty()) {
        // Queued, so that the dialog and "Loading Image..." are on the screen while the scan is read.
        QTimer::singleShot(0, this, [this] {
            if (!mPictureLoaded && !Form_Activate())
                reject();
        });
    }
}

bool LoadTemplateForm::Form_Activate()
{
    if (mActivating)
        return true;
    mActivating = true;
    ResCombo->setEditText(QString::number(Res));
    Picture1->setFocus();
    if (!mPictureLoaded) {
        LoadingLabel->show();
        LoadingLabel->raise();
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
        LoadingLabel->repaint();
        std::string error;
        const bool read = ReadPicture(TemplateFile, PictureDepth::AnyDepth, mScanPicture, error);
        LoadingLabel->hide();
        if (!read) {
            mLoadError = error.empty() ? "The scan could not be read." : error;
            mActivating = false;
            return false;
        }
        mPictureLoaded = true;
        mGrid.setPictureSize(mScanPicture.Width, mScanPicture.Height);
    }
    mGrid.setTemplate(currentTemplate());
    layoutControls(mGrid.viewWidthForHeight(mPictureHeight));
    if (mShown.size() != Picture1->size())
        mShown = ScaleForView(mScanPicture, Picture1->width(), Picture1->height());
    mGrid.setViewSize(Picture1->width(), Picture1->height());
    mGrid.setRes(Res);
    mGrid.activate();
    DrawTemplate();
    mActivating = false;
    return true;
}

void LoadTemplateForm::DrawTemplate()
{
    btnOK->setEnabled(mPictureLoaded && mGrid.okEnabled());
    Picture1->update();
}

void LoadTemplateForm::paintPicture(QPainter &painter)
{
    if (mShown.isNull())
        painter.fillRect(Picture1->rect(), Qt::white);
    else
        painter.drawImage(0, 0, mShown);
    if (!mPictureLoaded)
        return;
    for (int n = 1; n <= mGrid.cellCount(); ++n) {
        const GridCell cell = mGrid.cell(n);
        const int x1 = static_cast<int>(std::lround(mGrid.inchesToViewX(cell.Left)));
        const int y1 = static_cast<int>(std::lround(mGrid.inchesToViewY(cell.Top)));
        const int x2 = static_cast<int>(std::lround(mGrid.inchesToViewX(cell.Left + cell.Width)));
        const int y2 = static_cast<int>(std::lround(mGrid.inchesToViewY(cell.Top + cell.Height)));
        QPen pen(QColor(255, 0, 0), 1, cell.Selected ? Qt::SolidLine : Qt::DotLine);
        if (n == mCellInWork)
            pen = QPen(QColor(0, 0, 255), 2);
        painter.setPen(pen);
        painter.setBrush(Qt::NoBrush);
        const int inset = pen.width() / 2; // the border lies inside the cell
        painter.drawRect(QRect(x1 + inset, y1 + inset, x2 - x1 - 1 - inset, y2 - y1 - 1 - inset));
    }
}

void LoadTemplateForm::pictureClicked(QPoint pixel)
{
    if (!mPictureLoaded)
        return;
    if (mGrid.clickAt(mGrid.viewToInchesX(pixel.x()), mGrid.viewToInchesY(pixel.y())))
        DrawTemplate();
}

void LoadTemplateForm::ShiftButton_Click(ShiftDirection direction)
{
    mGrid.shift(direction);
    DrawTemplate();
    Picture1->setFocus();
}

void LoadTemplateForm::applyResolution()
{
    if (mPictureLoaded && mGrid.applyResolutionText(ResCombo->currentText().toStdString())) {
        Res = mGrid.res();
        DrawTemplate();
        return;
    }
    // No resolution in the text: the last good one comes back, without a message.
    ResCombo->setEditText(QString::number(Res));
}

void LoadTemplateForm::btnTemplates_Click()
{
    {
        TemplateManagerForm manager(mWs.TempDir, currentTemplate(), mManagerHost, this);
        if (mRunManager)
            mRunManager(manager);
        else
            manager.exec();
        if (const auto &t = manager.accepted()) {
            TemplateName = t->Name;
            TemplateNumH = t->NumH;
            TemplateNumV = t->NumV;
            TemplateSizeH = t->SizeH;
            TemplateSizeV = t->SizeV;
            TemplateSpaceH = t->SpaceH;
            TemplateSpaceV = t->SpaceV;
        }
    }
    // Accepted or not, the user starts again from a full grid.
    mGrid.selectAll();
    mGrid.setTemplate(currentTemplate());
    DrawTemplate();
    Form_Activate(); // the dialog comes to the front again
}

void LoadTemplateForm::btnOK_Click()
{
    if (!mPictureLoaded || !mGrid.okEnabled())
        return;

    // The cell in work turns blue while its clip is cut and loaded.
    class Marks : public CutObserver
    {
    public:
        explicit Marks(LoadTemplateForm &form) : mForm(form) {}
        void cellStarted(int cell) override
        {
            mForm.mCellInWork = cell;
            mForm.Picture1->repaint();
        }
        void cellFinished(int, int card) override
        {
            if (card > 0 && mForm.mCardAdded)
                mForm.mCardAdded(card);
            mForm.mCellInWork = 0;
            mForm.Picture1->repaint();
        }

    private:
        LoadTemplateForm &mForm;
    } marks(*this);

    const CutResult result = CutSheet(mWs, mScanPicture, mGrid, mWs.TempDir, &marks);
    for (const std::string &text : result.Messages)
        message(QString::fromStdString(text));
    saveSettings();
    accept();
}

void LoadTemplateForm::saveSettings()
{
    const auto save = [this](const SettingKey &key, const std::string &value) {
        mSettings.SaveSetting(key.section, key.key, value);
    };
    // Written with a point whatever the locale: the store reads the point back in every locale.
    save(SettingKeys::TemplateName, TemplateName);
    save(SettingKeys::TemplateNumH, std::to_string(TemplateNumH));
    save(SettingKeys::TemplateNumV, std::to_string(TemplateNumV));
    save(SettingKeys::TemplateSizeH, GeneralSingle(TemplateSizeH));
    save(SettingKeys::TemplateSizeV, GeneralSingle(TemplateSizeV));
    save(SettingKeys::TemplateSpaceH, GeneralSingle(TemplateSpaceH));
    save(SettingKeys::TemplateSpaceV, GeneralSingle(TemplateSpaceV));
}

void LoadTemplateForm::message(const QString &text)
{
    if (mMessage) {
        mMessage(text);
        return;
    }
    QString shown = text;
    shown.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    ShowDialogMessage(this, shown);
}

bool LoadTemplateForm::eventFilter(QObject *watched, QEvent *event)
{
    const bool inRes = watched == ResCombo || watched == ResCombo->lineEdit();
    if (inRes && event->type() == QEvent::FocusIn) {
        // Enter applies the resolution while the box has the focus, instead of pressing OK.
        btnOK->setDefault(false);
    } else if (inRes && event->type() == QEvent::FocusOut) {
        const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
        if (reason != Qt::PopupFocusReason && reason != Qt::ActiveWindowFocusReason
            && !ResCombo->hasFocus() && !ResCombo->lineEdit()->hasFocus()) {
            btnOK->setDefault(true);
            applyResolution();
        }
    } else if (event->type() == QEvent::KeyPress) {
        auto *widget = qobject_cast<QWidget *>(watched);
        if (!widget || widget->window() != this)
            return QDialog::eventFilter(watched, event);
        auto *key = static_cast<QKeyEvent *>(event);
        switch (key->key()) {
        case Qt::Key_Up: ShiftButton_Click(ShiftDirection::Up); return true;
        case Qt::Key_Right: ShiftButton_Click(ShiftDirection::Right); return true;
        case Qt::Key_Down: ShiftButton_Click(ShiftDirection::Down); return true;
        case Qt::Key_Left: ShiftButton_Click(ShiftDirection::Left); return true;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (ResCombo->hasFocus() || ResCombo->lineEdit()->hasFocus()) {
                applyResolution();
                return true;
            }
            break;
        default:
            break;
        }
    }
    return QDialog::eventFilter(watched, event);
}

} // namespace velmara
