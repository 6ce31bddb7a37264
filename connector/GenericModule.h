// What every module of this family obtains from the host: its resources, and a reply processor.
//
// Threads: Initialize is called once, before everything else; the resources do not change after it.
// Ownership: shared with the host; released with the module, in reverse order.
#pragma once

#include <boost/shared_ptr.hpp>

#include "connector/ReplyProcessor.h"
#include "host/kernel/IModule.h"
#include "host/kernel/Resources.h"

namespace Kyr::Common::Module {

class CGenericModule : public Kernel::IModule {
  public:
    CGenericModule();
    ~CGenericModule() override;

    /// Takes the resources 1, 2, 3, 4 and 11, in this order. Throws std::runtime_error on the first
    /// one that is missing or of another type; those after it stay empty.
    void Initialize(Kernel::IResourceProvider& provider) override;

  protected:
    const boost::shared_ptr<Kernel::IBusResource>& GetBus() const { return bus_; }
    const boost::shared_ptr<Kernel::IInstallConfigurationResource>& GetInstallConfiguration()
        const {
        return installConfiguration_;
    }
    const boost::shared_ptr<Kernel::ILoggerResource>& GetLoggerResource() const { return logger_; }
    const boost::shared_ptr<Kernel::IIdGeneratorResource>& GetIdGenerator() const {
        return idGenerator_;
    }
    const boost::shared_ptr<Kernel::IConfigurationResource>& GetConfiguration() const {
        return configuration_;
    }
    const boost::shared_ptr<CReplyProcessor>& GetReplyProcessor() const { return replyProcessor_; }

  private:
    boost::shared_ptr<Kernel::IBusResource> bus_;
    boost::shared_ptr<Kernel::IInstallConfigurationResource> installConfiguration_;
    boost::shared_ptr<Kernel::ILoggerResource> logger_;
    boost::shared_ptr<Kernel::IIdGeneratorResource> idGenerator_;
    boost::shared_ptr<Kernel::IConfigurationResource> configuration_;
    boost::shared_ptr<CReplyProcessor> replyProcessor_;
};

}  // namespace Kyr::Common::Module
