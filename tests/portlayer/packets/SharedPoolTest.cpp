// The limit of the shared memory of a connection's end. The system has another one, of its own.
#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class SectionLimitTest : public AlpcPortFixture {};

TEST_F(SectionLimitTest, SixtyFifthSectionIsRefusedUntilOneIsDeleted) {
    Serve(Ignore);
    const Handle port = Connect();
    std::vector<Handle> sections(64);
    for (Handle& section : sections) {
        EXPECT_EQ(TryCreateSection(port, 100, section), kStatusSuccess);
    }
    Handle oneMore = nullptr;
    EXPECT_EQ(TryCreateSection(port, 100, oneMore), kStatusNoMemory);
    EXPECT_EQ(oneMore, nullptr);
    EXPECT_EQ(NtAlpcDeletePortSection(port, 0, sections[17]), kStatusSuccess);
    EXPECT_EQ(TryCreateSection(port, 100, oneMore), kStatusSuccess);
    Handle another = nullptr;
    EXPECT_EQ(TryCreateSection(port, 100, another), kStatusNoMemory);
}

TEST_F(SectionLimitTest, ViewsThatTheServerKeepsCountUntilItReleasesThem) {
    // One-way messages whose views nobody releases, until the next one says so.
    std::vector<void*> kept;
    Serve([&kept](ReceivedCall& call) {
        if (Kind(call.message.data()) == kLpcDatagram) {
            kept.push_back(call.attributes.View().ViewBase);
        } else if (call.IsRequest()) {
            if (call.Data() == ToBytes("release")) {
                NtAlpcDeleteSectionView(call.client, 0, kept.front());
            }
            EXPECT_EQ(call.Reply({}), kStatusSuccess);
        }
    });
    const Handle port = Connect();
    for (int i = 0; i < 64; ++i) {
        CAttributes sent;
        const AlpcDataViewAttr& view = sent.AttachView(port, ToBytes("view"), kAlpcViewAutoRelease);
        EXPECT_EQ(SendOneWay(port, AlpcMessage({}), &sent), kStatusSuccess);
        EXPECT_EQ(NtAlpcDeletePortSection(port, 0, view.SectionHandle), kStatusSuccess);
    }
    Ask(port, ToBytes("all arrived"));
    Handle section = nullptr;
    EXPECT_EQ(TryCreateSection(port, 100, section), kStatusNoMemory);
    Ask(port, ToBytes("release"));
    EXPECT_EQ(TryCreateSection(port, 100, section), kStatusSuccess);
}

}  // namespace

}  // namespace Kyr::Test
