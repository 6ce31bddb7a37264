#include <charconv>
#include <sstream>
#include <stdexcept>
#include <string>

#include <boost/make_shared.hpp>

#include "module/ProductBuildReader.h"
#include "portlayer/RunFiles.h"

namespace Kyr::Connectors::OvAgentConnector {

IProductBuildReader::~IProductBuildReader() = default;

namespace {

/// What the registry value "build" of the installed product is elsewhere: a signed 32-bit number in
/// decimal. There is none while the product is not installed.
constexpr char kProductBuildFile[] = "ovanta-agent-build";

class CRunFileBuildReader final : public IProductBuildReader {
  public:
    std::optional<std::int64_t> Read() override {
        std::string text;
        const NtApi::NtStatus status = PortLayer::ReadRunFile(kProductBuildFile, text);
        if (status == NtApi::kStatusObjectNameNotFound) {
            return std::nullopt;
        }
        if (NtApi::IsError(status)) {
            std::ostringstream failure;
            failure << "The registered product build cannot be read: status " << std::hex
                    << std::uppercase << static_cast<std::uint32_t>(status);
            throw std::runtime_error(failure.str());
        }
        std::int32_t build = 0;
        const char* const end = text.data() + text.size();
        const auto read = std::from_chars(text.data(), end, build);
        // An editor's newline at the end does no harm.
        const bool whole = read.ptr == end || (read.ptr + 1 == end && *read.ptr == '\n');
        if (read.ec != std::errc() || !whole) {
            throw std::runtime_error("The registered product build is no 32-bit number");
        }
        return build;
    }
};

}  // namespace

boost::shared_ptr<IProductBuildReader> SystemProductBuildReader() {
    return boost::make_shared<CRunFileBuildReader>();
}

}  // namespace Kyr::Connectors::OvAgentConnector
