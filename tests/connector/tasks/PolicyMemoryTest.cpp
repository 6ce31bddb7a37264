// Policies for which zlib finds no memory. The linker sends calls of uncompress here.
#include <new>
#include <zlib.h>

#include "connector/tasks/ImportConfigurationTask.h"
#include "connector/tasks/PolicyBlob.h"
#include "host/message/ApplyPolicy.h"
#include "tests/connector/tasks/CommonTaskFixture.h"
#include "tests/connector/tasks/SmallPolicy.h"

namespace {

bool memoryIsShort = false;

}  // namespace

extern "C" {

int __real_uncompress(Bytef* target, uLongf* room, const Bytef* source, uLong length);

int __wrap_uncompress(Bytef* target, uLongf* room, const Bytef* source, uLong length) {
    return memoryIsShort ? Z_MEM_ERROR : __real_uncompress(target, room, source, length);
}

}  // extern "C"

namespace Kyr::Connectors::Common::Tasks {
namespace {

class PolicyMemoryTest : public CommonTaskFixture {
  protected:
    PolicyMemoryTest() { memoryIsShort = true; }
    ~PolicyMemoryTest() override { memoryIsShort = false; }
};

TEST_F(PolicyMemoryTest, WantOfMemoryWhileInflatingIsNoDamage) {
    EXPECT_THROW(ReadPolicyBlob(SmallPolicyBlob()), std::bad_alloc);
}

TEST_F(PolicyMemoryTest, PolicyThatCannotBeInflatedForWantOfMemoryIsNotSent) {
    const auto message = boost::make_shared<Kyr::Common::Message::Policies::CApplyPolicy>();
    message->SetPolicyBlob(SmallPolicyBlob());
    message->SetReadOnly();
    CImportConfigurationTask task(logger, factory, channel);

    EXPECT_THROW(task.Execute(message), std::bad_alloc);
    EXPECT_TRUE(channel->requests.empty());
    EXPECT_TRUE(Lines().empty());
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Tasks
