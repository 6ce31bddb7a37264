#include <Poco/Exception.h>
#include <Poco/Util/WinRegistryKey.h>
#include <stdexcept>

#include "lab/simproduct/state/Registration.h"

namespace Kyr::Lab::SimProduct {

namespace {

constexpr char kKey[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\TULK\\Ovanta\\Agent\\CurrentVersion\\Info";
constexpr char kValue[] = "build";

}  // namespace

void Install(std::int32_t build) {
    try {
        Poco::Util::WinRegistryKey(kKey).setInt(kValue, build);
    } catch (const Poco::Exception& problem) {
        throw std::runtime_error(problem.displayText());
    }
}

void Uninstall() {
    try {
        Poco::Util::WinRegistryKey key(kKey);
        if (key.exists() && key.exists(kValue)) {
            key.deleteValue(kValue);
        }
    } catch (const Poco::Exception& problem) {
        throw std::runtime_error(problem.displayText());
    }
}

}  // namespace Kyr::Lab::SimProduct
