#include <link.h>

#include "hostprobe/LoadedLibraries.h"

namespace Kyr::HostProbe {

std::vector<std::string> LoadedLibraries() {
    std::vector<std::string> files;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* out) {
            static_cast<std::vector<std::string>*>(out)->emplace_back(info->dlpi_name);
            return 0;
        },
        &files);
    return files;
}

}  // namespace Kyr::HostProbe
