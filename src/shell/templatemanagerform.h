#pragma once
// The template manager, "Template Manager": the stored templates in a drop-down list, the six
// boxes with their spinners, the sheet drawn to scale with its brackets and leader lines, Save,
// Accept, Cancel and the Delete key in the list. Its rules live in TemplateManager; this form only
// forwards the events and paints what the rules leave.

#include "templates/templatemanager.h"

#include <QDialog>

#include <array>
#include <memory>
#include <optional>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QToolButton;

namespace velmara {

class TemplateManagerForm : public QDialog
{
    Q_OBJECT
public:
    // tempDir (ending in a separator) holds "templates.dat"; current is what the load dialog holds
    // (its name and six values). The boxes go through host when given (tests answer them there),
    // else through message and input boxes titled "Velmara". The list is read here, so a message
    // about unreadable lines of the file comes before the dialog shows.
    TemplateManagerForm(const std::string &tempDir, const CardTemplate &current,
                        TemplateManagerHost *host = nullptr, QWidget *parent = nullptr);
    ~TemplateManagerForm() override;

    // Set by Accept: the seven fields for the load dialog. Empty after Cancel.
    const std::optional<CardTemplate> &accepted() const { return mAccepted; }

    const TemplateManager &rules() const { return *mRules; }
    QLineEdit *box(TemplateBox b) const { return mBoxes[static_cast<size_t>(b)]; }
    QToolButton *spinUp(TemplateBox b) const { return mUp[static_cast<size_t>(b)]; }
    QToolButton *spinDown(TemplateBox b) const { return mDown[static_cast<size_t>(b)]; }

    QComboBox *comboTemplates = nullptr;
    QPushButton *btnSave = nullptr;
    QPushButton *btnAccept = nullptr;
    QPushButton *btnCancel = nullptr;
    QLabel *lblHSize = nullptr;
    QLabel *lblVSize = nullptr;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void showEvent(QShowEvent *event) override;

private:
    void buildControls();
    void sync();
    void placeLabel(QLabel *label, const PlacedLabel &placed);
    int boxIndex(const QObject *object) const;
    void acceptClicked();

    std::unique_ptr<TemplateManagerHost> mOwnHost;
    std::unique_ptr<TemplateManager> mRules;
    std::optional<CardTemplate> mAccepted;
    bool mSyncing = false;
    QChar mPoint; // decimal separator of the sizes shown; the rules and the file keep the point
    std::array<QLineEdit *, kTemplateBoxCount> mBoxes{};
    std::array<QToolButton *, kTemplateBoxCount> mUp{};
    std::array<QToolButton *, kTemplateBoxCount> mDown{};
};

} // namespace velmara
