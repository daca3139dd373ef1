#include "templates/cardtemplate.h"

#include "templates/templatetext.h"

namespace velmara {

namespace {

bool LengthInRange(Single inches)
{
    // The spinner's own test: thousandths compared unrounded, as a box is checked on leaving.
    const double thousandths = static_cast<double>(inches) * 1000.0;
    return thousandths >= kMinLength && thousandths <= kMaxLength;
}

bool CountInRange(Integer n) { return n >= kMinCount && n <= kMaxCount; }

} // namespace

bool CardTemplate::SameDimensions(const CardTemplate &other) const
{
    return NumH == other.NumH && SizeH == other.SizeH && SpaceH == other.SpaceH
           && NumV == other.NumV && SizeV == other.SizeV && SpaceV == other.SpaceV;
}

CardTemplate DefaultTemplate()
{
    CardTemplate t;
    t.Name = kDefaultTemplateName;
    t.NumH = 3;
    t.SizeH = 1.75f;
    t.SpaceH = 0.25f;
    t.NumV = 3;
    t.SizeV = 2.75f;
    t.SpaceV = 0.375f;
    return t;
}

bool ValidTemplateName(const std::string &name)
{
    if (name.empty() || name.find('"') != std::string::npos)
        return false;
    const int length = Utf8Length(name);
    if (length < 1 || length > kMaxNameLength)
        return false;
    return Utf8ToCp1252(name).has_value();
}

bool TemplateInRange(const CardTemplate &t)
{
    return ValidTemplateName(t.Name) && CountInRange(t.NumH) && CountInRange(t.NumV)
           && LengthInRange(t.SizeH) && LengthInRange(t.SpaceH) && LengthInRange(t.SizeV)
           && LengthInRange(t.SpaceV);
}

} // namespace velmara
