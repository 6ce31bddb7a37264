#include "module/PathLocale.h"

#include <exception>
#include <locale>

#include <boost/filesystem/path.hpp>
#include <boost/locale/generator.hpp>
#include <boost/locale/info.hpp>

namespace Kyr::Connectors::OvAgentConnector {

namespace {

std::locale Generate(const char* name) {
    // A path asks its locale for the conversion of its text and for nothing else. The other facets
    // would bring in more of ICU, 2.5 MiB on Linux, for nobody.
    boost::locale::generator generate;
    generate.categories(boost::locale::category_t::codepage |
                        boost::locale::category_t::information);
    return generate(name);
}

std::locale GeneratePathLocale() noexcept {
    // The empty name is the system's default locale.
    for (const char* name : {"", "C.UTF-8"}) {
        try {
            const std::locale candidate = Generate(name);
            if (std::use_facet<boost::locale::info>(candidate).utf8()) {
                return candidate;
            }
        } catch (const std::exception&) {
            // The environment names a locale that this system does not have, or memory is short;
            // try the next one.
        }
    }
    return std::locale::classic();
}

}  // namespace

void InstallPathLocale() noexcept {
    static const std::locale pathLocale = GeneratePathLocale();
    try {
        boost::filesystem::path::imbue(pathLocale);
    } catch (const std::exception&) {
        // The new locale is installed by now. What failed is the making of the previous one, which
        // imbue hands back and nobody wants: the default of a process whose environment names a
        // locale that does not exist.
    }
}

}  // namespace Kyr::Connectors::OvAgentConnector
