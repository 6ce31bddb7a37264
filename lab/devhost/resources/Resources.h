// The small resources of the host, and the provider that hands all of them out by number and tells
// each request on demand, as `resource`.
//
// Threads: any, once the provider has been filled.
#pragma once

#include <atomic>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/kernel/Resources.h"
#include "lab/common/LineWriter.h"
#include "lab/devhost/resources/Failures.h"

namespace Kyr::Lab::DevHost {

class CInstallConfiguration final : public Common::Kernel::IInstallConfigurationResource {
  public:
    explicit CInstallConfiguration(std::string instanceUuid)
        : instanceUuid_(std::move(instanceUuid)) {}
    std::string GetInstanceUUID() const override { return instanceUuid_; }

  private:
    const std::string instanceUuid_;
};

/// The host log: every line goes to the console and to the log file as a `log` event.
class CHostLog final : public Common::Kernel::ILoggerResource {
  public:
    /// The failures must outlive this.
    CHostLog(CFailures& failures, std::vector<LineSink> sinks)
        : failures_(failures), sinks_(std::move(sinks)) {}
    /// Errors: std::runtime_error for a line that is to fail on request.
    void Log(const std::string& text, int level, const std::string& source) override;

  private:
    CFailures& failures_;  // borrowed
    const std::vector<LineSink> sinks_;
};

/// Counts from 1.
class CIdGenerator final : public Common::Kernel::IIdGeneratorResource {
  public:
    std::uint32_t GenerateId() override { return ++last_; }

  private:
    std::atomic<std::uint32_t> last_{0};
};

// Modules hold these two and call nothing of them.
class CConfiguration final : public Common::Kernel::IConfigurationResource {};
class CNetworkGrpc final : public Common::Kernel::INetworkGrpcResource {};

class CResourceProvider final : public Common::Kernel::IResourceProvider {
  public:
    explicit CResourceProvider(LineSink events) : events_(std::move(events)) {}
    void Add(int number, boost::shared_ptr<Common::Kernel::IResource> resource);
    boost::shared_ptr<Common::Kernel::IResource> GetResource(int number) override;

  private:
    const LineSink events_;
    std::map<int, boost::shared_ptr<Common::Kernel::IResource>> resources_;
};

}  // namespace Kyr::Lab::DevHost
