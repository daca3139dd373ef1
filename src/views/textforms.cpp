#include "views/textforms.h"

#include "core/numberform.h"

#include <QLocale>

namespace velmara {

namespace {

char decimalSeparator()
{
    const QString point = QLocale().decimalPoint();
    return point.size() == 1 && point.at(0).unicode() < 128 ? point.at(0).toLatin1() : '.';
}

} // namespace

QString FixedText(double value, int decimals)
{
    std::string pattern = "0";
    if (decimals > 0)
        pattern += "." + std::string(static_cast<size_t>(decimals), '0');
    return QString::fromStdString(FormatNumber(value, pattern, decimalSeparator()));
}

QString PlainSingleText(float value)
{
    return QString::fromStdString(GeneralSingle(value, decimalSeparator()));
}

QString PlainDoubleText(double value)
{
    return QString::fromStdString(GeneralDouble(value, decimalSeparator()));
}

} // namespace velmara
