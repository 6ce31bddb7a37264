#include <Poco/Util/WinRegistryKey.h>

#include "tests/support/product/InstalledProduct.h"

namespace Kyr::Test {

// The value of the real registry, which all programs of the system share.
struct CInstalledProduct::Place {
    void Clear() {
        if (key.exists()) {
            key.deleteKey();
        }
    }

    Poco::Util::WinRegistryKey key{
        "HKEY_LOCAL_MACHINE\\SOFTWARE\\TULK\\Ovanta\\Agent\\CurrentVersion\\Info"};
};

CInstalledProduct::CInstalledProduct() : place_(std::make_unique<Place>()) {
    place_->Clear();  // of what programs before this one have left
}

CInstalledProduct::~CInstalledProduct() {
    place_->Clear();
}

void CInstalledProduct::Install(std::int32_t build) {
    place_->key.setInt("build", build);
}

void CInstalledProduct::InstallWithText(const std::string& text) {
    place_->key.setString("build", text);
}

void CInstalledProduct::RemoveBuild() {
    place_->key.deleteValue("build");
}

}  // namespace Kyr::Test
