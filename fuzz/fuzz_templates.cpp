// Any bytes as a templates file. Reading keeps only templates the manager could edit, names every
// skipped line, and what it kept is written and read back as the same list with no line skipped.

#include "fuzzfile.h"
#include "templates/templatestore.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, size_t size)
{
    using namespace velmara;
    const std::string path = fuzz::WriteInput("templates.dat", data, size);
    TemplateStore store(path);
    if (!store.load() || store.badLines().empty() != store.badLinesMessage().empty())
        std::abort();
    for (const CardTemplate &t : store.stored())
        if (!TemplateInRange(t))
            std::abort();

    std::vector<CardTemplate> list{DefaultTemplate()};
    list.insert(list.end(), store.stored().begin(), store.stored().end());
    TemplateStore copy(fuzz::FuzzFolder() + "copy.dat");
    if (!copy.write(list) || !copy.load() || copy.stored() != store.stored() || !copy.badLines().empty())
        std::abort();

    if (!store.stored().empty()) {
        const std::string &name = store.stored().front().Name;
        const std::optional<CardTemplate> found = FindTemplate(name, path);
        if (!found || found->Name != name)
            std::abort();
    }
    return 0;
}
