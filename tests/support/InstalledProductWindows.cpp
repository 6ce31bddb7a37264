#include <Poco/Util/WinRegistryKey.h>

#include "tests/support/InstalledProduct.h"

namespace Kyr::Test {

// The value of the real registry; a fresh Wine prefix has none.
struct CInstalledProduct::Place {
    Poco::Util::WinRegistryKey key{
        "HKEY_LOCAL_MACHINE\\SOFTWARE\\TULK\\Ovanta\\Agent\\CurrentVersion\\Info"};
};

CInstalledProduct::CInstalledProduct() : place_(std::make_unique<Place>()) {}

CInstalledProduct::~CInstalledProduct() {
    if (place_->key.exists()) {
        place_->key.deleteKey();
    }
}

void CInstalledProduct::Install(std::int32_t build) {
    place_->key.setInt("build", build);
}

void CInstalledProduct::InstallWithText() {
    place_->key.setString("build", "5600");
}

void CInstalledProduct::RemoveBuild() {
    place_->key.deleteValue("build");
}

}  // namespace Kyr::Test
