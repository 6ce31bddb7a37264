#include "kelcomm/ServerBroadcast.h"
#include "tests/kelcomm/ChannelFixture.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Connectors::Common::Kelcomm {
namespace {

using Test::ThrownText;

constexpr std::uint32_t kServerPlugin = 0x1004000;
constexpr char kNothing[] = "nothing was thrown";

/// An area with two modules, the second of which is the server plug-in; its value is 77.
class ServerBroadcastTest : public Test::ChannelFixture {
  protected:
    ServerBroadcastTest() {
        SetWord(20, 2);
        SetModule(0, 0x1001000, 5);
        SetModule(1, kServerPlugin, 9);
        SetWord(200, 0xDDDDDDDD);
        SetWord(204, 77);
    }

    std::int32_t Read() { return broadcast_.Read(client_.get()); }

    std::string ReadFailure() {
        return ThrownText([this] { Read(); });
    }

    void MakeUnreadable(std::uint32_t offset) { alpc_->unreadableBroadcastOffsets = {offset}; }

    /// The offsets that a call reads.
    std::vector<std::uint32_t> OffsetsOf(const std::function<void()>& call) {
        alpc_->seenBroadcastOffsets.clear();
        call();
        return alpc_->seenBroadcastOffsets;
    }

    std::unique_ptr<IKelcommClient> client_ = AlpcClient();
    std::atomic<bool> available_{true};
    CServerBroadcast broadcast_{available_};
};

TEST_F(ServerBroadcastTest, ValueIsTheSecondWordOfTheBlock) {
    EXPECT_EQ(Read(), 77);
}

TEST_F(ServerBroadcastTest, ValueIsSigned) {
    SetWord(204, 0xFFFFFFFE);
    EXPECT_EQ(Read(), -2);
}

TEST_F(ServerBroadcastTest, FirstReadScansTheTableUpToTheModule) {
    EXPECT_EQ(OffsetsOf([this] { Read(); }),
              (std::vector<std::uint32_t>{20, 12, 100, 120, 132, 128, 124, 200}));
}

TEST_F(ServerBroadcastTest, UnchangedTimestampCostsOneWord) {
    Read();
    SetWord(204, 78);  // without a new timestamp nobody looks
    EXPECT_EQ(OffsetsOf([this] { EXPECT_EQ(Read(), 77); }), (std::vector<std::uint32_t>{132}));
}

TEST_F(ServerBroadcastTest, NewTimestampReadsTheValueAgain) {
    Read();
    SetModule(1, kServerPlugin, 10);
    SetWord(204, 78);
    EXPECT_EQ(OffsetsOf([this] { EXPECT_EQ(Read(), 78); }),
              (std::vector<std::uint32_t>{132, 120, 128, 124, 200}));
}

TEST_F(ServerBroadcastTest, FirstEntryIsRememberedLikeAnyOther) {
    SetModule(0, kServerPlugin, 9);
    Read();
    SetModule(0, kServerPlugin, 10);
    SetWord(204, 78);
    EXPECT_EQ(OffsetsOf([this] { EXPECT_EQ(Read(), 78); }),
              (std::vector<std::uint32_t>{112, 100, 108, 104, 200}));
}

TEST_F(ServerBroadcastTest, TimestampOf0IsOneLikeAnyOther) {
    SetModule(1, kServerPlugin, 0);
    EXPECT_EQ(Read(), 77);
    EXPECT_EQ(OffsetsOf([this] { EXPECT_EQ(Read(), 77); }), (std::vector<std::uint32_t>{132}));
}

TEST_F(ServerBroadcastTest, OlderTimestampIsANewOne) {
    Read();
    SetModule(1, kServerPlugin, 8);
    SetWord(204, 78);
    EXPECT_EQ(Read(), 78);
}

TEST_F(ServerBroadcastTest, MovedModuleIsFoundAgain) {
    Read();
    SetModule(1, 0x1001000, 10);
    SetModule(0, kServerPlugin, 11);
    SetWord(204, 79);
    EXPECT_EQ(Read(), 79);
    EXPECT_EQ(OffsetsOf([this] { Read(); }), (std::vector<std::uint32_t>{112}));
}

TEST_F(ServerBroadcastTest, FirstOfTwoMatchesIsTaken) {
    SetModule(0, kServerPlugin, 1, 300);
    SetWord(304, 5);
    EXPECT_EQ(Read(), 5);
}

TEST_F(ServerBroadcastTest, TableWithoutTheModuleIsNeverReadAgain) {
    SetModule(1, 0x1005000, 9);
    EXPECT_EQ(Read(), -1);
    EXPECT_FALSE(available_);
}

TEST_F(ServerBroadcastTest, ReadOfALostValueTouchesNothing) {
    SetModule(1, 0x1005000, 9);
    Read();
    SetModule(1, kServerPlugin, 10);
    EXPECT_EQ(OffsetsOf([this] { EXPECT_EQ(Read(), -1); }), std::vector<std::uint32_t>());
}

TEST_F(ServerBroadcastTest, EmptyTableHasNoModule) {
    SetWord(20, 0);
    EXPECT_EQ(Read(), -1);
    EXPECT_FALSE(available_);
}

TEST_F(ServerBroadcastTest, EntryBehindTheTableIsNotLookedAt) {
    SetWord(20, 1);  // the plug-in's entry is the second
    EXPECT_EQ(OffsetsOf([this] { EXPECT_EQ(Read(), -1); }),
              (std::vector<std::uint32_t>{20, 12, 100}));
    EXPECT_FALSE(available_);
}

TEST_F(ServerBroadcastTest, EmptyTableIsNotLookedAtThoughThePluginFollows) {
    SetModule(0, kServerPlugin, 9);
    SetWord(20, 0);
    EXPECT_EQ(OffsetsOf([this] { EXPECT_EQ(Read(), -1); }), (std::vector<std::uint32_t>{20}));
}

TEST_F(ServerBroadcastTest, ModuleThatVanishesIsMissedForGood) {
    Read();
    SetModule(1, 0x1005000, 10);
    EXPECT_EQ(Read(), -1);
    EXPECT_FALSE(available_);
}

TEST_F(ServerBroadcastTest, UserDataOf7BytesThrowAndDisable) {
    SetModule(1, kServerPlugin, 9, 200, 7);
    EXPECT_EQ(ReadFailure(),
              "CKelcommChannel: serverPluginSize size is smaller than requested size");
    EXPECT_FALSE(available_);
}

TEST_F(ServerBroadcastTest, UserDataThatBecomeTooShortDisableTheKnownModule) {
    Read();
    SetModule(1, kServerPlugin, 10, 200, 0);
    EXPECT_EQ(ReadFailure(),
              "CKelcommChannel: serverPluginSize size is smaller than requested size");
    EXPECT_FALSE(available_);
}

TEST_F(ServerBroadcastTest, UserDataOf8BytesSuffice) {
    SetModule(1, kServerPlugin, 9, 200, 8);
    EXPECT_EQ(Read(), 77);
}

TEST_F(ServerBroadcastTest, UserDataMayBeLongerThanTheBlock) {
    SetModule(1, kServerPlugin, 9, 200, 400);
    EXPECT_EQ(Read(), 77);
}

// Reads that fail. None of them disables the value.

TEST_F(ServerBroadcastTest, UnreadableModuleCount) {
    MakeUnreadable(20);
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get modules count broadcast failed");
    EXPECT_TRUE(available_);
}

TEST_F(ServerBroadcastTest, MissingClientIsAnUnreadableModuleCount) {
    EXPECT_EQ(ThrownText([this] { broadcast_.Read(nullptr); }),
              "CKelcommChannel: Get modules count broadcast failed");
}

TEST_F(ServerBroadcastTest, MissingClientIsAnUnreadableTimestampOfTheCachedModule) {
    Read();
    EXPECT_EQ(ThrownText([this] { broadcast_.Read(nullptr); }),
              "CKelcommChannel: Get user data timestamp broadcast failed");
}

TEST_F(ServerBroadcastTest, UnreadableFirstModuleOffset) {
    MakeUnreadable(12);
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get first module offset broadcast failed");
}

TEST_F(ServerBroadcastTest, UnreadableModuleIdInTheScan) {
    MakeUnreadable(100);
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get module id broadcast failed");
}

TEST_F(ServerBroadcastTest, CountBeyondTheAreaEndsAtItsEdge) {
    SetModule(1, 0x1005000, 9);
    SetWord(20, 0xFFFFFFFF);
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get module id broadcast failed");
    EXPECT_TRUE(available_);
}

TEST_F(ServerBroadcastTest, TableAtTheEndOfTheNumbersDoesNotComeRound) {
    SetWord(12, 0xFFFFFFF0);
    alpc_->farBroadcastWords[0xFFFFFFF0] = 0x1001000;
    SetWord(4, kServerPlugin);  // where entry 1 would stand in 32 bits
    EXPECT_EQ(OffsetsOf([this] {
                  EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get module id broadcast failed");
              }),
              (std::vector<std::uint32_t>{20, 12, 0xFFFFFFF0}));
}

TEST_F(ServerBroadcastTest, EntryAtTheVeryLastNumberIsLookedAt) {
    SetWord(12, 0xFFFFFFFF);
    alpc_->farBroadcastWords[0xFFFFFFFF] = 0x1001000;
    EXPECT_EQ(OffsetsOf([this] { EXPECT_NE(ReadFailure(), kNothing); }),
              (std::vector<std::uint32_t>{20, 12, 0xFFFFFFFF}));
}

TEST_F(ServerBroadcastTest, EntryAtTheEndOfTheNumbersDoesNotComeRound) {
    SetWord(12, 0xFFFFFFF8);
    alpc_->farBroadcastWords[0xFFFFFFF8] = kServerPlugin;
    SetWord(4, 9);  // where its timestamp would stand in 32 bits
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get user data timestamp broadcast failed");
}

TEST_F(ServerBroadcastTest, BlockBeyondTheAreaIsUnreadable) {
    std::uint32_t timestamp = 9;
    for (const std::uint32_t offset : {201U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFCU}) {
        SetModule(1, kServerPlugin, timestamp++, offset);
        EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get TSERVER_BROADCAST failed") << offset;
    }
}

TEST_F(ServerBroadcastTest, TableThatShrinksWhileItIsSearchedEndsInAFailure) {
    int words = 0;
    alpc_->whileServing = [&] {
        if (++words == 4) {  // the count, the table's offset and the first id have been read
            alpc_->broadcastArea.resize(120);
        }
    };
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get module id broadcast failed");
    EXPECT_TRUE(available_);
}

TEST_F(ServerBroadcastTest, BlockThatShrinksBehindItsCheckedSizeEndsInAFailure) {
    int words = 0;
    alpc_->whileServing = [&] {
        if (++words == 8) {  // all but the block have been read
            alpc_->broadcastArea.resize(207);
        }
    };
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get TSERVER_BROADCAST failed");
    EXPECT_TRUE(available_);
}

TEST_F(ServerBroadcastTest, UnreadableTimestampOfTheFoundModule) {
    MakeUnreadable(132);
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get user data timestamp broadcast failed");
}

TEST_F(ServerBroadcastTest, FoundModuleIsKnownThoughItsTimestampWasUnreadable) {
    MakeUnreadable(132);
    EXPECT_NE(ReadFailure(), kNothing);
    alpc_->unreadableBroadcastOffsets.clear();
    EXPECT_EQ(OffsetsOf([this] { EXPECT_EQ(Read(), 77); }),
              (std::vector<std::uint32_t>{132, 120, 128, 124, 200}));
}

TEST_F(ServerBroadcastTest, FoundModuleIsReadThoughItsFirstTimestampIs1) {
    SetModule(1, kServerPlugin, 1);
    MakeUnreadable(132);
    EXPECT_NE(ReadFailure(), kNothing);
    alpc_->unreadableBroadcastOffsets.clear();
    EXPECT_EQ(Read(), 77);
}

TEST_F(ServerBroadcastTest, FoundModuleWhoseFirstTimestampIs0HasNoValueYet) {
    SetModule(1, kServerPlugin, 0);
    MakeUnreadable(132);
    EXPECT_NE(ReadFailure(), kNothing);
    alpc_->unreadableBroadcastOffsets.clear();
    EXPECT_EQ(OffsetsOf([this] { EXPECT_EQ(Read(), -1); }), (std::vector<std::uint32_t>{132}));
    EXPECT_TRUE(available_);
}

TEST_F(ServerBroadcastTest, FirstModuleOffsetIsReadOnceAndForAll) {
    Read();
    SetWord(12, 0);
    SetModule(1, kServerPlugin, 10);
    SetWord(204, 78);
    EXPECT_EQ(Read(), 78);
}

TEST_F(ServerBroadcastTest, UnreadableTimestampOfTheCachedModuleForgetsIt) {
    Read();
    MakeUnreadable(132);
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get user data timestamp broadcast failed");
    alpc_->unreadableBroadcastOffsets.clear();
    const auto offsets = OffsetsOf([this] { Read(); });
    ASSERT_FALSE(offsets.empty());
    EXPECT_EQ(offsets[0], 20u);  // scans again
}

TEST_F(ServerBroadcastTest, UnreadableModuleIdOfTheCachedModule) {
    Read();
    SetModule(1, kServerPlugin, 10);
    MakeUnreadable(120);
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get module id broadcast failed");
}

TEST_F(ServerBroadcastTest, AfterAnUnreadableModuleIdTheOldValueHoldsUntilTheNextTimestamp) {
    Read();
    SetModule(1, kServerPlugin, 10);
    SetWord(204, 78);
    MakeUnreadable(120);
    EXPECT_NE(ReadFailure(), kNothing);
    alpc_->unreadableBroadcastOffsets.clear();
    // The module is still known, and its timestamp was seen before its id failed.
    EXPECT_EQ(OffsetsOf([this] { EXPECT_EQ(Read(), 77); }), (std::vector<std::uint32_t>{132}));
    SetModule(1, kServerPlugin, 11);
    EXPECT_EQ(OffsetsOf([this] { EXPECT_EQ(Read(), 78); }),
              (std::vector<std::uint32_t>{132, 120, 128, 124, 200}));
}

TEST_F(ServerBroadcastTest, UnreadableUserDataOffset) {
    MakeUnreadable(128);
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get user data offset broadcast failed");
}

TEST_F(ServerBroadcastTest, UnreadableUserDataSize) {
    MakeUnreadable(124);
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get user data size broadcast failed");
}

TEST_F(ServerBroadcastTest, UnreadableBlock) {
    MakeUnreadable(200);
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get TSERVER_BROADCAST failed");
    EXPECT_TRUE(available_);
}

TEST_F(ServerBroadcastTest, AfterAFailedBlockTheOldValueHoldsUntilTheNextTimestamp) {
    Read();
    SetModule(1, kServerPlugin, 10);
    SetWord(204, 78);
    MakeUnreadable(200);
    EXPECT_NE(ReadFailure(), kNothing);
    alpc_->unreadableBroadcastOffsets.clear();
    EXPECT_EQ(Read(), 77);  // the timestamp was seen before the block failed
    SetModule(1, kServerPlugin, 11);
    EXPECT_EQ(Read(), 78);
}

TEST_F(ServerBroadcastTest, UnreadableOffsetOfATableAt0KeepsTheKnownModule) {
    SetWord(12, 0);
    SetWord(20, 1);
    SetWord(0, kServerPlugin);
    SetWord(4, 8);
    SetWord(8, 200);  // and the table's offset, 0, is the module's timestamp, too
    EXPECT_EQ(Read(), 77);
    MakeUnreadable(12);
    EXPECT_EQ(ReadFailure(), "CKelcommChannel: Get first module offset broadcast failed");
    alpc_->unreadableBroadcastOffsets.clear();
    EXPECT_EQ(OffsetsOf([this] { EXPECT_EQ(Read(), 77); }),
              (std::vector<std::uint32_t>{12, 12, 12}));
}

TEST_F(ServerBroadcastTest, FirstModuleOffsetOf0IsReadAgain) {
    SetWord(12, 0);  // the table begins at 0 then
    SetWord(0, kServerPlugin);
    const auto offsets = OffsetsOf([this] { ReadFailure(); });
    ASSERT_GE(offsets.size(), 5u);
    EXPECT_EQ((std::vector<std::uint32_t>(offsets.begin(), offsets.begin() + 5)),
              (std::vector<std::uint32_t>{20, 12, 0, 12, 12}));
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm
