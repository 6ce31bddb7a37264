// The resources that the host lends to a connector module.
//
// Threads: the host makes all of them safe to call from any thread.
// The order of the virtual operations is the host's contract. Operations named Reserved belong to
// the host and only keep the places of the ones that follow; no module of this system calls them.
#pragma once

#include <cstdint>
#include <string>

#include <boost/shared_ptr.hpp>

#include "host/database/IMapper.h"
#include "host/kernel/IDeliveryContext.h"
#include "host/kernel/IMessage.h"
#include "host/kernel/IResource.h"
#include "host/kernel/ISubscriber.h"

namespace Kyr::Common::Kernel {

/// The message bus. What a module publishes reaches its own subscribers as well.
class IBusResource : public IResource {
  public:
    ~IBusResource() override;
    /// Delivers `message` to all subscribers of its type, together with `context`.
    virtual void Publish(const boost::shared_ptr<IMessage>& message,
                         const boost::shared_ptr<IDeliveryContext>& context) = 0;
    virtual void Subscribe(const boost::shared_ptr<ISubscriber>& subscriber, MessageType type) = 0;
};

/// What the host's installation knows of itself.
class IInstallConfigurationResource : public IResource {
  public:
    ~IInstallConfigurationResource() override;
    virtual void Reserved1();
    virtual void Reserved2();
    virtual void Reserved3();
    virtual void Reserved4();
    virtual void Reserved5();
    virtual void Reserved6();
    virtual void Reserved7();
    virtual void Reserved8();
    virtual void Reserved9();
    virtual void Reserved10();
    virtual void Reserved11();
    /// The agent's instance identifier, a UUID in text form.
    virtual std::string GetInstanceUUID() const = 0;
};

/// The host's log.
class ILoggerResource : public IResource {
  public:
    ~ILoggerResource() override;
    virtual void Reserved1();
    /// Writes one line. `level` is 1 to 4 in rising severity; `source` names the module.
    virtual void Log(const std::string& text, int level, const std::string& source) = 0;
};

/// Identifiers for requests of the host's request/response scheme.
class IIdGeneratorResource : public IResource {
  public:
    ~IIdGeneratorResource() override;
    virtual std::uint32_t GenerateId() = 0;
};

/// The host's configuration; held by modules, not called.
class IConfigurationResource : public IResource {
  public:
    ~IConfigurationResource() override;
};

/// The host's server connection; held by modules, not called.
class INetworkGrpcResource : public IResource {
  public:
    ~INetworkGrpcResource() override;
};

/// The host database.
class IDatabaseResource : public IResource {
  public:
    ~IDatabaseResource() override;
    virtual void Reserved1();
    /// The mapper of that number, or an empty pointer.
    virtual boost::shared_ptr<Database::IMapper> GetMapper(int number) = 0;
};

}  // namespace Kyr::Common::Kernel
