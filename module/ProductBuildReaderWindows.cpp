#include <Poco/Util/WinRegistryKey.h>

#include <boost/make_shared.hpp>

#include "module/ProductBuildReader.h"

namespace Kyr::Connectors::OvAgentConnector {

IProductBuildReader::~IProductBuildReader() = default;

namespace {

constexpr char kKey[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\TULK\\Ovanta\\Agent\\CurrentVersion\\Info\\";
constexpr char kValue[] = "build";

class CRegistryBuildReader final : public IProductBuildReader {
  public:
    std::optional<std::int64_t> Read() override {
        Poco::Util::WinRegistryKey key(kKey, /*readOnly=*/true);
        if (!key.exists() || !key.exists(kValue)) {
            return std::nullopt;
        }
        return key.getInt(kValue);  // throws when the value is of another type
    }
};

}  // namespace

boost::shared_ptr<IProductBuildReader> SystemProductBuildReader() {
    return boost::make_shared<CRegistryBuildReader>();
}

}  // namespace Kyr::Connectors::OvAgentConnector
