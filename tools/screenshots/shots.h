#pragma once
// Shared by the screenshot drivers: a generated line of cards written into a scratch folder.

#include "cardgen/cardgen.h"

#include <QDir>
#include <QStringList>

namespace velmara::shots {

// Writes the cards of spec as stem01.bmp, stem02.bmp ... into dir and returns their paths.
inline QStringList WriteLineCards(const QDir &dir, const cardgen::LineSpec &spec, const char *stem)
{
    const auto cards = cardgen::MakeSprayLine(spec);
    QStringList paths;
    for (size_t i = 0; i < cards.size(); ++i) {
        const QString path = dir.filePath(QStringLiteral("%1%2.bmp").arg(QLatin1String(stem)).arg(i + 1, 2, 10, QLatin1Char('0')));
        cardgen::WriteCard(cards[i], path.toStdString(), spec.dpi);
        paths << path;
    }
    return paths;
}

} // namespace velmara::shots
