#include <Poco/Environment.h>
#include <fstream>

#include <boost/filesystem/operations.hpp>

#include "tests/support/product/InstalledProduct.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Test {

struct CInstalledProduct::Place {
    void Write(const std::string& text) const { std::ofstream(file) << text; }

    const CTemporaryFolder directory;
    const std::string file = directory.File("ovanta-agent-build");
};

CInstalledProduct::CInstalledProduct() : place_(std::make_unique<Place>()) {
    boost::filesystem::permissions(place_->directory.Path(), boost::filesystem::owner_all);
    Poco::Environment::set("KELCOMM_RUNTIME_DIR", place_->directory.Path());
}

// The variable is left as it is: what reads it then finds no product.
CInstalledProduct::~CInstalledProduct() = default;

void CInstalledProduct::Install(std::int32_t build) {
    place_->Write(std::to_string(build));
}

void CInstalledProduct::InstallWithText(const std::string& text) {
    place_->Write(text);
}

void CInstalledProduct::RemoveBuild() {
    boost::filesystem::remove(place_->file);
}

}  // namespace Kyr::Test
