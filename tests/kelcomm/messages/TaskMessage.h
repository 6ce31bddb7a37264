// Bus messages as the requests that answer them want them.
#pragma once

#include <string>

#include "host/message/Task.h"

namespace Kyr::Test {

/// A task with these texts as its identifiers, set in their order.
template <typename Task>
void Identify(Task& task, const std::string& first, const std::string& second,
              const std::string& third) {
    Common::Message::CTask::Uuid uuids[3];
    uuids[0].set_uuid(first);
    uuids[1].set_uuid(second);
    uuids[2].set_uuid(third);
    task.SetIdentifiers(uuids[0], uuids[1], uuids[2]);
}

/// A task that is nothing but its identifiers.
class CPlainTask : public Common::Message::CTask {
  public:
    CPlainTask(const std::string& first, const std::string& second, const std::string& third) {
        Identify(*this, first, second, third);
    }
    Common::Kernel::MessageType GetMessageType() const override {
        return Common::Kernel::MessageType::KillProcessByPid;
    }
    std::string GetName() const override { return "PlainTask"; }
    bool Equals(const Common::Kernel::IMessage& other) const override { return &other == this; }
};

}  // namespace Kyr::Test
