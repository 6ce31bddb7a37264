// Advanced ports: sections, views in requests, replies and one-way messages, and their release.
#include <future>

#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class AlpcViewTest : public AlpcPortFixture {
  protected:
    void ServeView(const Bytes& bytes) {
        Serve(OnRequests([bytes](ReceivedCall& call) {
            EXPECT_EQ(call.ReplyWithView(ToBytes("see view"), bytes), kStatusSuccess);
        }));
    }
    /// Serves by answering with the bytes of the request's view, which it then deletes.
    void ServeViewEcho() {
        Serve(OnRequests([](ReceivedCall& call) {
            EXPECT_TRUE(call.attributes.HasView());
            const Bytes copy = call.attributes.ViewBytes();
            EXPECT_EQ(NtAlpcDeleteSectionView(call.client, 0, call.attributes.View().ViewBase),
                      kStatusSuccess);
            EXPECT_EQ(call.ReplyWithView({}, copy), kStatusSuccess);
        }));
    }
    struct Reply {
        Bytes message;
        CAttributes attributes;
    };
    Reply AskForReply(Handle port, CAttributes* sent = nullptr) {
        Reply reply;
        EXPECT_EQ(Exchange(port, AlpcMessage({}), reply.message, sent, &reply.attributes),
                  kStatusSuccess);
        EXPECT_TRUE(reply.attributes.HasView());
        return reply;
    }
    void ReleaseView(Handle port, Reply& reply) {
        reply.attributes.View().Flags |= kAlpcViewUnmapExisting;
        EXPECT_EQ(Release(port, reply.message, &reply.attributes), kStatusSuccess);
    }
    Bytes AskForView(Handle port) {
        Reply reply = AskForReply(port);
        Bytes bytes = reply.attributes.ViewBytes();
        ReleaseView(port, reply);
        return bytes;
    }
};

TEST_F(AlpcViewTest, ReplyWithAViewIsFlaggedAndReleasedOnce) {
    const Bytes large = Pattern(200000);
    ServeView(large);
    const Handle port = Connect();
    Reply reply = AskForReply(port);
    EXPECT_EQ(Get<std::uint16_t>(reply.message.data(), 4), 0x2002);
    EXPECT_EQ(reply.attributes.View().Flags & kAlpcViewSecured, kAlpcViewSecured);
    EXPECT_EQ(reply.attributes.ViewBytes(), large);
    ReleaseView(port, reply);
    EXPECT_EQ(Release(port, reply.message, &reply.attributes), kStatusInvalidMessage);
}

TEST_F(AlpcViewTest, ReleaseWithoutTheUnmapFlagKeepsTheView) {
    ServeView(Pattern(70000));
    const Handle port = Connect();
    Reply reply = AskForReply(port);
    EXPECT_EQ(Release(port, reply.message, nullptr), kStatusSuccess);
    EXPECT_EQ(reply.attributes.ViewBytes(), Pattern(70000));
    void* const base = reply.attributes.View().ViewBase;
    EXPECT_EQ(NtAlpcDeleteSectionView(port, 0, base), kStatusSuccess);
    EXPECT_EQ(NtAlpcDeleteSectionView(port, 0, base), kStatusInvalidParameter);
}

TEST_F(AlpcViewTest, ViewsOfAllSizesCrossAgainAndAgain) {
    for (const std::size_t size : {1u, 4096u, 65488u, 65536u, 1000000u, 16777216u}) {
        SCOPED_TRACE(size);
        ServeView(Pattern(size));
        const Handle port = Connect();
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(AskForView(port), Pattern(size));
        }
        CloseHandle(port);
        StopServer();
    }
}

TEST_F(AlpcViewTest, RequestTravelsInAView) {
    ServeViewEcho();
    const Handle port = Connect();
    const Bytes large = Pattern(300001);
    for (int i = 0; i < 100; ++i) {
        CAttributes sent;
        const AlpcDataViewAttr& view = sent.AttachView(port, large, kAlpcViewAutoRelease);
        Reply reply = AskForReply(port, &sent);
        ASSERT_EQ(reply.attributes.ViewBytes(), large);
        ReleaseView(port, reply);
        // Released by the send.
        EXPECT_EQ(NtAlpcDeleteSectionView(port, 0, view.ViewBase), kStatusInvalidParameter);
        EXPECT_EQ(NtAlpcDeletePortSection(port, 0, view.SectionHandle), kStatusSuccess);
    }
}

TEST_F(AlpcViewTest, ViewStaysWithoutTheAutoReleaseFlag) {
    ServeViewEcho();
    const Handle port = Connect();
    CAttributes sent;
    const AlpcDataViewAttr& view = sent.AttachView(port, Pattern(70000), 0);
    Reply reply = AskForReply(port, &sent);
    ReleaseView(port, reply);
    EXPECT_EQ(NtAlpcDeleteSectionView(port, 0, view.ViewBase), kStatusSuccess);
    EXPECT_EQ(NtAlpcDeletePortSection(port, 0, view.SectionHandle), kStatusSuccess);
}

TEST_F(AlpcViewTest, ViewThatThePeerStillHasCannotBeSentAgain) {
    std::promise<void> released;
    auto release = released.get_future().share();
    Serve([&](ReceivedCall& call) {
        if (call.IsRequest() && call.attributes.HasView()) {
            release.wait();
            EXPECT_EQ(NtAlpcDeleteSectionView(call.client, 0, call.attributes.View().ViewBase),
                      kStatusSuccess);
        }
        if (call.IsRequest()) {
            call.Reply({});
        }
    });
    const Handle port = Connect();
    CAttributes sent;
    sent.AttachView(port, Pattern(70000), 0);
    EXPECT_EQ(TryAsk(port, &sent, std::chrono::milliseconds(5)), kStatusTimeout);
    EXPECT_EQ(TryAsk(port, &sent), kStatusInvalidParameter);
    released.set_value();
    // The late reply, or this one, gives the view back.
    EXPECT_EQ(TryAsk(port), kStatusSuccess);
    EXPECT_EQ(TryAsk(port, &sent), kStatusSuccess);
}

TEST_F(AlpcViewTest, VeryLargeViewCanBeSentAgain) {
    Serve(OnRequests([](ReceivedCall& call) {
        EXPECT_EQ(NtAlpcDeleteSectionView(call.client, 0, call.attributes.View().ViewBase),
                  kStatusSuccess);
        call.Reply({});
    }));
    const Handle port = Connect();
    AlpcDataViewAttr view = {};
    // Above what the two ends keep mapped.
    view.ViewSize = 65u << 20;
    ASSERT_EQ(TryCreateSection(port, view.ViewSize, view.SectionHandle), kStatusSuccess);
    ASSERT_EQ(NtAlpcCreateSectionView(port, 0, &view), kStatusSuccess);
    view.Flags = kAlpcViewSecured;
    CAttributes sent;
    sent.SetView(view);
    EXPECT_EQ(TryAsk(port, &sent), kStatusSuccess);
    EXPECT_EQ(TryAsk(port, &sent), kStatusSuccess);
}

TEST_F(AlpcViewTest, SectionBeyondTheLargestIsRefused) {
    Serve(Ignore);
    const Handle port = Connect();
    Handle section = nullptr;
    EXPECT_EQ(TryCreateSection(port, (std::size_t{1} << 30) + 1, section), kStatusNoMemory);
}

TEST_F(AlpcViewTest, OneWayViewIsReleasedByTheServer) {
    std::promise<Bytes> received;
    Serve([&](ReceivedCall& call) {
        if (Kind(call.message.data()) != kLpcDatagram) {
            return;
        }
        EXPECT_EQ(Get<std::uint16_t>(call.message.data(), 4), 0x2003);
        Bytes bytes = call.attributes.ViewBytes();
        call.attributes.View().Flags |= kAlpcViewUnmapExisting;
        EXPECT_EQ(
            NtAlpcSendWaitReceivePort(call.port, kAlpcReleaseMessage, call.message.data(),
                                      call.attributes.Get(), nullptr, nullptr, nullptr, nullptr),
            kStatusSuccess);
        received.set_value(std::move(bytes));
    });
    const Handle port = Connect();
    CAttributes sent;
    const AlpcDataViewAttr& view = sent.AttachView(port, Pattern(70000), kAlpcViewAutoRelease);
    EXPECT_EQ(SendOneWay(port, AlpcMessage({}), &sent), kStatusSuccess);
    EXPECT_EQ(NtAlpcDeletePortSection(port, 0, view.SectionHandle), kStatusSuccess);
    EXPECT_EQ(received.get_future().get(), Pattern(70000));
}

TEST_F(AlpcViewTest, LateViewsOfTimedOutRequestsAreGivenBack) {
    Serve(OnRequests([](ReceivedCall& call) {
        if (call.Data() == ToBytes("slow")) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        EXPECT_EQ(call.ReplyWithView(call.Data(), Pattern(70000)), kStatusSuccess);
    }));
    const Handle port = Connect();
    int timeouts = 0;
    // More than one end can hold at once.
    for (int i = 0; i < 150; ++i) {
        Bytes reply;
        const NtStatus status = Exchange(port, AlpcMessage(ToBytes("slow")), reply, nullptr,
                                         nullptr, std::chrono::milliseconds(0));
        timeouts += status == kStatusTimeout ? 1 : 0;
        ASSERT_EQ(AskForView(port), Pattern(70000));
    }
    EXPECT_GT(timeouts, 100);
}

TEST_F(AlpcViewTest, SectionsAreCheckedWhenMade) {
    Serve(Ignore);
    const Handle port = Connect();
    Handle section = nullptr;
    EXPECT_EQ(TryCreateSection(port, 0, section), kStatusInvalidParameter);
    EXPECT_EQ(TryCreateSection(port, 100, section, 0), kStatusInvalidParameter);
    EXPECT_EQ(TryCreateSection(nullptr, 100, section), kStatusInvalidHandle);
    std::size_t actual = 0;
    EXPECT_EQ(
        NtAlpcCreatePortSection(port, kAlpcPortSectionSecure, nullptr, 4097, &section, &actual),
        kStatusSuccess);
    EXPECT_EQ(actual, 8192u);
    EXPECT_EQ(NtAlpcDeletePortSection(port, 0, section), kStatusSuccess);
    EXPECT_EQ(NtAlpcDeletePortSection(port, 0, section), kStatusInvalidHandle);
}

TEST_F(AlpcViewTest, ViewsAreCheckedWhenMadeAndSent) {
    Serve(Ignore);
    const Handle port = Connect();
    AlpcDataViewAttr view = MakeView(port, Pattern(100));
    AlpcDataViewAttr bad = {0, view.SectionHandle, nullptr, 5000};
    EXPECT_EQ(NtAlpcCreateSectionView(port, 0, &bad), kStatusInvalidParameter);
    bad = {0, reinterpret_cast<Handle>(0x7000), nullptr, 10};
    EXPECT_EQ(NtAlpcCreateSectionView(port, 0, &bad), kStatusInvalidHandle);
    CAttributes sent;
    sent.SetView({kAlpcViewSecured, view.SectionHandle, &bad, 10});
    EXPECT_EQ(SendOneWay(port, AlpcMessage({}), &sent), kStatusInvalidParameter);
    sent.SetView({kAlpcViewSecured, view.SectionHandle, view.ViewBase, 5000});
    EXPECT_EQ(SendOneWay(port, AlpcMessage({}), &sent), kStatusInvalidParameter);
    EXPECT_EQ(NtAlpcDeleteSectionView(port, 0, view.ViewBase), kStatusSuccess);
    EXPECT_EQ(NtAlpcDeletePortSection(port, 0, view.SectionHandle), kStatusSuccess);
}

TEST_F(AlpcViewTest, DeletedSectionLivesUntilItsViewEnds) {
    Serve(Ignore);
    const Handle port = Connect();
    const AlpcDataViewAttr view = MakeView(port, Pattern(100));
    EXPECT_EQ(NtAlpcDeletePortSection(port, 0, view.SectionHandle), kStatusSuccess);
    EXPECT_EQ(std::memcmp(view.ViewBase, Pattern(100).data(), 100), 0);
    EXPECT_EQ(NtAlpcDeleteSectionView(port, 0, view.ViewBase), kStatusSuccess);
}

TEST_F(AlpcViewTest, ClosingThePortEndsWhatStands) {
    ServeView(Pattern(70000));
    const Handle port = Connect();
    MakeView(port, Pattern(100));
    AskForReply(port);
    EXPECT_EQ(CloseHandle(port), 1);
}

TEST_F(AlpcViewTest, ReceiverWithoutPlaceForTheViewStillReleasesTheMessage) {
    ServeView(Pattern(70000));
    const Handle port = Connect();
    Bytes reply;
    ASSERT_EQ(Exchange(port, AlpcMessage({}), reply), kStatusSuccess);
    EXPECT_EQ(Get<std::uint16_t>(reply.data(), 4), 0x2002);
    EXPECT_EQ(Release(port, reply, nullptr), kStatusSuccess);
}

}  // namespace

}  // namespace Kyr::Test
