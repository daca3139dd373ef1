#include "shell/writecompositecommand.h"

#include "shell/commondialogs.h"
#include "statistics/composite.h"
#include "statistics/line.h"
#include "statistics/range.h"
#include "views/swathview.h"

#include <QFile>

namespace velmara {

std::vector<int> UnscannedCards(const Workspace &ws)
{
    std::vector<int> cards;
    for (int i = 1; i <= ws.CardCount(); ++i)
        if (!ws.Card(i).Scanned)
            cards.push_back(i);
    return cards;
}

QString UnscannedCardsQuestion(const Workspace &ws, const std::vector<int> &cards)
{
    if (cards.size() == 1)
        return QStringLiteral("The following file has not been scanned:\r\r")
               + QString::fromStdString(ws.Card(cards.front()).FileName)
               + QStringLiteral("\r\rWould you like to scan this file?");
    QString text = QStringLiteral("The following files have not been scanned:\r\r");
    for (int i : cards)
        text += QString::fromStdString(ws.Card(i).FileName) + QLatin1Char('\r');
    return text + QStringLiteral("\rWould you like to scan these files?");
}

WriteCompositeOutcome RunWriteComposite(Workspace &ws, WriteCompositeHost &host, char decimalSeparator)
{
    WriteCompositeOutcome out;
    auto fail = [&](const std::string &message) {
        out.status = WriteCompositeOutcome::Status::Failed;
        out.message = QString::fromStdString(message);
        host.showWarning(out.message);
        return out;
    };

    CCommonDialogs dialog;
    dialog.Init(host.owner(), host.files());
    dialog.FileName.clear();
    dialog.Title = QString::fromLatin1(kSaveResultsTitle);
    dialog.InitialDir = QString::fromStdString(ws.InitialDir);
    dialog.Filter = QString::fromLatin1(kResultsFilter);
    dialog.FilterIndex = 1;
    dialog.DefExt = QStringLiteral("txt");
    if (!dialog.ShowSave() || dialog.FileName.isEmpty())
        return out;
    out.path = dialog.FileName;
    // The filter chosen decides the form, whatever the name's extension says.
    out.format = dialog.FilterIndex == 1 ? ResultsFormat::Text : ResultsFormat::Csv;

    if (!host.sprayDialog())
        return out;

    try {
        const std::vector<int> unscanned = UnscannedCards(ws);
        if (!unscanned.empty() && host.askYesNo(UnscannedCardsQuestion(ws, unscanned))) {
            out.scanned = unscanned;
            host.scanCards(unscanned);
            // The file and the view must tell the same line: the new cards join everything.
            CalcCompositeAll(ws);
            if (RangeSelected(ws))
                CalcCompositeRange(ws);
            FillLineStats(ws);
            RebuildSwathTables(ws);
            host.refreshView();
        }

        if (ws.Spray.Sample_Position1.empty() || ws.Spray.Sample_Interval.empty()) {
            if (!host.cardPositions())
                return out;
            // Accept stores both texts; anything else leaves no line to write.
            if (ws.Spray.Sample_Position1.empty() || ws.Spray.Sample_Interval.empty())
                return out;
        }

        const std::string path = QFile::encodeName(out.path).toStdString();
        const ResultsFileResult written = WriteResultsFile(ws, path, out.format, decimalSeparator);
        if (!written.Ok)
            return fail(written.Message);
        const SizeRangeLogsResult logs = AppendSizeRangeRecords(ws, decimalSeparator);
        if (!logs.Ok)
            return fail(logs.Message);
    } catch (const std::exception &e) {
        return fail(std::string(kResultsFileErrorLead) + e.what());
    }
    out.status = WriteCompositeOutcome::Status::Written;
    return out;
}

} // namespace velmara
