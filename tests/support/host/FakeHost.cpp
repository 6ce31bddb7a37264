#include "tests/support/host/FakeHost.h"

#include <utility>

#include <boost/make_shared.hpp>

namespace Kyr::Test {

CFakeHost::CFakeHost()
    : bus(boost::make_shared<CFakeBus>()),
      log(boost::make_shared<CLogCapture>()),
      installConfiguration(boost::make_shared<CFakeInstallConfiguration>()),
      database(boost::make_shared<CFakeDatabase>()) {
    Set(1, bus);
    Set(2, installConfiguration);
    Set(3, log);
    Set(4, boost::make_shared<CFakeIdGenerator>());
    Set(6, database);
    Set(11, boost::make_shared<CFakeConfiguration>());
    Set(12, boost::make_shared<CFakeNetwork>());
}

boost::shared_ptr<Common::Kernel::IResource> CFakeHost::GetResource(int number) {
    requested.push_back(number);
    return resources_[number];
}

void CFakeHost::Set(int number, boost::shared_ptr<Common::Kernel::IResource> resource) {
    resources_[number] = std::move(resource);
}

}  // namespace Kyr::Test
