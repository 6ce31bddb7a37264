// The broadcast area as both kinds of client read it.
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <thread>

#include "kelcomm/area/KelcommCommonNt.h"
#include "kelcomm/ports/KelcommAlpcClient.h"
#include "kelcomm/ports/KelcommClientNt.h"
#include "tests/kelcomm/client/ClientFixture.h"

namespace Kyr::Test {

namespace {

// header size 32, unread, "KelComm ", version 2, unread, data offset 40, data size 16;
// a gap of 8 bytes, then the data area: 0 1 2 ... 15
constexpr char kArea[] =
    "20 00 00 00  AA AA AA AA  4B 65 6C 43 6F 6D 6D 20  02 00 00 00  BB BB BB BB"
    "28 00 00 00  10 00 00 00  CC CC CC CC CC CC CC CC"
    "00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F";
constexpr std::size_t kHeaderSizeAt = 0;
constexpr std::size_t kMagicAt = 8;
constexpr std::size_t kVersionAt = 16;
constexpr std::size_t kDataOffsetAt = 24;
constexpr std::size_t kDataSizeAt = 28;

template <typename Client>
class KelcommCommonNtTest : public ClientFixture {
  protected:
    KelcommCommonNtTest() {
        client_ = std::make_unique<Client>(native_.GetFunctions());
        InitializeClient();
        native_.area.bytes = HexBytes(kArea);
    }

    std::uint32_t Read(std::uint32_t offset, std::uint32_t length) {
        read_.assign(length <= 64 ? length : 64, 0xEE);
        return client_->ReadBroadcast(offset, read_.data(), length);
    }
    void Put(std::size_t place, std::uint32_t value) {
        const Bytes bytes = LittleEndian(value, 4);
        std::copy(bytes.begin(), bytes.end(),
                  native_.area.bytes.begin() + static_cast<std::ptrdiff_t>(place));
    }
    /// A header that does not hold makes both reads fail and leaves nothing open.
    void ExpectRefused() {
        EXPECT_EQ(1U, Read(0, 4));
        EXPECT_EQ(0U, native_.CountLive());
        EXPECT_EQ(1U, client_->ReadBroadcastValue(0, &value_));
        EXPECT_EQ(0xEEEEEEEEU, value_);
        EXPECT_EQ(0U, native_.CountLive());
    }

    Bytes read_;
    std::uint32_t value_ = 0xEEEEEEEE;
};

/// The product as it writes one word again and again, all zeros and all ones. To the reader it is
/// another process, so that this is no race for a sanitizer to tell of.
__attribute__((no_sanitize("thread"))) void WriteUntil(const std::atomic<bool>& enough,
                                                       volatile std::uint32_t* word) {
    while (!enough) {
        *word = 0xFFFFFFFF;
        *word = 0;
    }
}

using Clients =
    testing::Types<Kelcomm::CKelcommClientNt<std::uint32_t>,
                   Kelcomm::CKelcommClientNt<std::uint64_t>, Kelcomm::CKelcommAlpcClient>;
struct ClientNames {
    template <typename Client>
    static std::string GetName(int number) {
        return number == 0 ? "Lpc32" : number == 1 ? "Lpc64" : "Alpc";
    }
};
TYPED_TEST_SUITE(KelcommCommonNtTest, Clients, ClientNames);

// ---- opening ----

TYPED_TEST(KelcommCommonNtTest, AreaIsOpenedByTheFirstReadOnly) {
    EXPECT_TRUE(this->native_.area.openedNames.empty());
    this->Read(0, 4);
    this->Read(0, 4);
    this->client_->ReadBroadcastValue(0, &this->value_);
    EXPECT_EQ(std::vector<std::u16string>({u"Global\\KELCOMM61564B51To31564B51BroadcastMutex",
                                           u"Global\\KELCOMM61564B51To31564B51Broadcast"}),
              this->native_.area.openedNames);
    EXPECT_EQ(std::vector<std::uint32_t>({0x100001, 4}), this->native_.area.openedAccess);
}

TYPED_TEST(KelcommCommonNtTest, ValueReadOpensTheAreaToo) {
    EXPECT_EQ(0U, this->client_->ReadBroadcastValue(4, &this->value_));
    EXPECT_EQ(2U, this->native_.area.openedNames.size());
}

TYPED_TEST(KelcommCommonNtTest, MissingMutexIsAFailure) {
    this->native_.Fail("OpenMutexW");
    this->ExpectRefused();
    EXPECT_EQ(0U, this->native_.CountCalls("OpenFileMappingW"));
}

TYPED_TEST(KelcommCommonNtTest, MissingSectionClosesTheMutex) {
    this->native_.Fail("OpenFileMappingW");
    this->ExpectRefused();
}

TYPED_TEST(KelcommCommonNtTest, UnmappableSectionClosesEverything) {
    this->native_.Fail("MapViewOfFile");
    this->ExpectRefused();
}

TYPED_TEST(KelcommCommonNtTest, ViewOfUnknownSizeIsAFailure) {
    this->native_.Fail("VirtualQuery");
    this->ExpectRefused();
}

TYPED_TEST(KelcommCommonNtTest, SystemWithoutSectionsIsAFailure) {
    this->native_.Remove("OpenMutexW");
    this->ExpectRefused();
}

TYPED_TEST(KelcommCommonNtTest, OtherHeaderSizeIsRefused) {
    for (const std::uint32_t size : {0U, 31U, 33U, 0x120U, 0x20000020U}) {
        this->Put(kHeaderSizeAt, size);
        this->ExpectRefused();
    }
}

TYPED_TEST(KelcommCommonNtTest, OtherMagicIsRefused) {
    for (std::size_t i = 0; i < 8; ++i) {  // the last is the trailing blank
        this->native_.area.bytes = HexBytes(kArea);
        this->native_.area.bytes.at(kMagicAt + i) = 'X';
        this->ExpectRefused();
    }
}

TYPED_TEST(KelcommCommonNtTest, OtherVersionIsRefused) {
    for (const std::uint32_t version : {0U, 1U, 3U, 0x102U, 0x02000002U}) {
        this->Put(kVersionAt, version);
        this->ExpectRefused();
    }
}

TYPED_TEST(KelcommCommonNtTest, ViewSmallerThanTheHeaderIsRefused) {
    this->native_.area.bytes.resize(31);
    this->native_.area.bytes.shrink_to_fit();
    this->ExpectRefused();
}

TYPED_TEST(KelcommCommonNtTest, AreaThatAppearsLaterIsFound) {
    this->native_.Fail("OpenMutexW", 1);
    EXPECT_EQ(1U, this->Read(0, 4));
    EXPECT_EQ(0U, this->Read(0, 4));
}

TYPED_TEST(KelcommCommonNtTest, CloseReleasesTheAreaAndTheNextReadOpensItAgain) {
    this->Read(0, 4);
    EXPECT_EQ(3U, this->native_.CountLive());
    this->client_->Close();
    EXPECT_EQ(0U, this->native_.CountLive());
    this->InitializeClient();
    EXPECT_EQ(0U, this->Read(0, 4));
}

TYPED_TEST(KelcommCommonNtTest, DestructorReleasesTheArea) {
    this->Read(0, 4);
    this->client_ = std::make_unique<TypeParam>(this->native_.GetFunctions());
    EXPECT_EQ(0U, this->native_.CountLive());
}

TYPED_TEST(KelcommCommonNtTest, AreaIsClosedInTheReverseOrderOfItsOpening) {
    this->Read(0, 4);
    EXPECT_EQ(std::vector<std::string>({"mapped area", "mapping", "mutex"}),
              this->GivenBackBy([this] { this->client_->Close(); }));
}

// ---- reading bytes ----

TYPED_TEST(KelcommCommonNtTest, BytesComeFromTheDataArea) {
    EXPECT_EQ(0U, this->Read(4, 3));
    EXPECT_EQ(HexBytes("04 05 06"), this->read_);
}

TYPED_TEST(KelcommCommonNtTest, ReadHoldsTheMutexForFiveSecondsAtMost) {
    this->Read(0, 4);
    EXPECT_EQ(std::vector<std::uint32_t>({5000}), this->native_.area.mutexTimeouts);
    EXPECT_EQ(1U, this->native_.area.releasedMutexes);
}

TYPED_TEST(KelcommCommonNtTest, AbandonedMutexCountsAsOwned) {
    this->native_.area.mutexWait = 0x80;
    EXPECT_EQ(0U, this->Read(4, 1));
    EXPECT_EQ(HexBytes("04"), this->read_);
    EXPECT_EQ(1U, this->native_.area.releasedMutexes);
}

TYPED_TEST(KelcommCommonNtTest, MutexThatIsNotObtainedIsAFailure) {
    for (const std::uint32_t wait : {0x102U, 0xFFFFFFFFU, 1U}) {
        this->native_.area.mutexWait = wait;
        EXPECT_EQ(1U, this->Read(0, 4));
    }
    EXPECT_EQ(0U, this->native_.area.releasedMutexes);
}

TYPED_TEST(KelcommCommonNtTest, ReadMayEndWithTheDataAreaButNotPastIt) {
    EXPECT_EQ(0U, this->Read(12, 4));
    EXPECT_EQ(HexBytes("0C 0D 0E 0F"), this->read_);
    EXPECT_EQ(0U, this->Read(16, 0));
    EXPECT_EQ(1U, this->Read(12, 5));
    EXPECT_EQ(1U, this->Read(13, 4));
    EXPECT_EQ(1U, this->Read(17, 0));
    EXPECT_EQ(5U, this->native_.area.releasedMutexes);  // on every path
}

TYPED_TEST(KelcommCommonNtTest, NegativeOffsetIsAFailure) {
    EXPECT_EQ(1U, this->Read(0xFFFFFFFF, 1));
    EXPECT_EQ(1U, this->Read(0x80000000, 0));
}

TYPED_TEST(KelcommCommonNtTest, OffsetAndLengthDoNotWrapAround) {
    EXPECT_EQ(1U, this->Read(1, 0xFFFFFFFF));
    EXPECT_EQ(1U, this->Read(0x7FFFFFFF, 0x80000001));
}

TYPED_TEST(KelcommCommonNtTest, DataSizeIsReadAtEachRead) {
    EXPECT_EQ(0U, this->Read(12, 4));
    this->Put(kDataSizeAt, 15);
    EXPECT_EQ(1U, this->Read(12, 4));
    EXPECT_EQ(0U, this->Read(11, 4));
}

TYPED_TEST(KelcommCommonNtTest, DataSizeIsReadForEachValue) {
    EXPECT_EQ(0U, this->client_->ReadBroadcastValue(12, &this->value_));
    this->Put(kDataSizeAt, 15);
    EXPECT_EQ(10U, this->client_->ReadBroadcastValue(12, &this->value_));
    this->Put(kDataSizeAt, 3);
    EXPECT_EQ(10U, this->client_->ReadBroadcastValue(0, &this->value_));
    EXPECT_EQ(0x0F0E0D0CU, this->value_);
}

TYPED_TEST(KelcommCommonNtTest, DataOffsetIsReadAtEachReadAndMayLieInTheHeader) {
    EXPECT_EQ(0U, this->Read(0, 4));
    this->Put(kDataOffsetAt, 41);
    EXPECT_EQ(0U, this->Read(0, 4));
    EXPECT_EQ(HexBytes("01 02 03 04"), this->read_);
    this->Put(kDataOffsetAt, 8);
    EXPECT_EQ(0U, this->client_->ReadBroadcastValue(0, &this->value_));
    EXPECT_EQ(0x436C654BU, this->value_);  // "KelC"
}

TYPED_TEST(KelcommCommonNtTest, EmptyDataAreaHasNothingToRead) {
    this->Put(kDataSizeAt, 0);
    EXPECT_EQ(0U, this->Read(0, 0));
    EXPECT_EQ(1U, this->Read(0, 1));
    EXPECT_EQ(10U, this->client_->ReadBroadcastValue(0, &this->value_));
}

TYPED_TEST(KelcommCommonNtTest, DataSizeThatShrinksWhileTheMutexIsWaitedForCounts) {
    this->native_.area.onMutexWait = [this] { this->Put(kDataSizeAt, 15); };
    EXPECT_EQ(1U, this->Read(12, 4));
    EXPECT_EQ(1U, this->native_.area.releasedMutexes);
}

TYPED_TEST(KelcommCommonNtTest, DataAreaPastTheMappingIsNotRead) {
    this->Put(kDataSizeAt, 0xFFFFFFFF);
    EXPECT_EQ(0U, this->Read(12, 4));
    EXPECT_EQ(1U, this->Read(13, 4));
    EXPECT_EQ(1U, this->client_->ReadBroadcastValue(13, &this->value_));
    this->Put(kDataOffsetAt, 0xFFFFFFFF);
    EXPECT_EQ(1U, this->Read(0, 4));
    EXPECT_EQ(1U, this->client_->ReadBroadcastValue(0x7FFFFFF0, &this->value_));
}

TYPED_TEST(KelcommCommonNtTest, AreaClosedWhileTheMutexIsWaitedForIsAFailure) {
    this->native_.area.onMutexWait = [this] { this->client_->Close(); };
    EXPECT_EQ(1U, this->Read(0, 4));
    EXPECT_EQ(1U, this->native_.area.releasedMutexes);  // by a handle that is still open
    EXPECT_EQ(0U, this->native_.CountLive());
}

TYPED_TEST(KelcommCommonNtTest, AreaClosedWhileTheMutexIsNotObtainedIsClosedAfterwards) {
    this->native_.area.onMutexWait = [this] { this->client_->Close(); };
    this->native_.area.mutexWait = 0x102;
    EXPECT_EQ(1U, this->Read(0, 4));
    EXPECT_EQ(0U, this->native_.CountLive());
}

TYPED_TEST(KelcommCommonNtTest, AreaClosedWhileTwoReadersWaitKeepsTheMutexForTheSecond) {
    this->native_.area.onMutexWait = [this] {
        this->native_.area.onMutexWait = [this] { this->client_->Close(); };
        EXPECT_EQ(1U, this->Read(0, 4));  // a second reader, which is done first
        this->native_.area.onMutexWait = nullptr;
        EXPECT_EQ(1U, this->native_.CountLive("mutex"));
    };
    EXPECT_EQ(1U, this->Read(0, 4));
    EXPECT_EQ(2U, this->native_.area.releasedMutexes);
    EXPECT_EQ(0U, this->native_.CountLive());
}

TYPED_TEST(KelcommCommonNtTest, ViewOfTheHeadAloneIsAnArea) {
    this->ProvideEmptyArea();
    EXPECT_EQ(0U, this->Read(0, 0));
    EXPECT_EQ(1U, this->Read(0, 1));
}

TYPED_TEST(KelcommCommonNtTest, AreaOfOtherIdsIsFoundUnderThem) {
    this->client_->Close();
    ASSERT_EQ(0U, this->client_->Initialize(1, 2, 0));
    this->Read(0, 4);
    EXPECT_EQ(std::vector<std::u16string>({u"Global\\KELCOMM00000002To00000001BroadcastMutex",
                                           u"Global\\KELCOMM00000002To00000001Broadcast"}),
              this->native_.area.openedNames);
}

TYPED_TEST(KelcommCommonNtTest, AreaIsOpenedAgainOnceTheMutexIsNoLongerWaitedFor) {
    this->native_.area.onMutexWait = [this] {
        this->client_->Close();
        this->InitializeClient();
        EXPECT_EQ(1U, this->client_->ReadBroadcastValue(4, &this->value_));
        this->native_.area.onMutexWait = nullptr;
    };
    EXPECT_EQ(1U, this->Read(4, 1));
    EXPECT_EQ(0U, this->native_.CountLive());
    EXPECT_EQ(0U, this->Read(4, 1));
    EXPECT_EQ(HexBytes("04"), this->read_);
}

// ---- reading one value ----

TYPED_TEST(KelcommCommonNtTest, ValueIsReadWithoutTheMutex) {
    EXPECT_EQ(0U, this->client_->ReadBroadcastValue(4, &this->value_));
    EXPECT_EQ(0x07060504U, this->value_);
    EXPECT_TRUE(this->native_.area.mutexTimeouts.empty());
}

TYPED_TEST(KelcommCommonNtTest, ValueIsReadWhileTheMutexCannotBeHad) {
    this->native_.area.mutexWait = 0x102;
    EXPECT_EQ(0U, this->client_->ReadBroadcastValue(4, &this->value_));
}

TYPED_TEST(KelcommCommonNtTest, HeaderIsCheckedWhenTheAreaIsOpenedOnly) {
    EXPECT_EQ(0U, this->Read(0, 4));
    this->Put(kVersionAt, 3);
    EXPECT_EQ(0U, this->Read(0, 4));
    EXPECT_EQ(0U, this->client_->ReadBroadcastValue(0, &this->value_));
}

TYPED_TEST(KelcommCommonNtTest, ValueNeedsNoAlignment) {
    EXPECT_EQ(0U, this->client_->ReadBroadcastValue(5, &this->value_));
    EXPECT_EQ(0x08070605U, this->value_);
}

TYPED_TEST(KelcommCommonNtTest, ValueOutsideTheDataAreaIsAnInvalidArgument) {
    EXPECT_EQ(0U, this->client_->ReadBroadcastValue(12, &this->value_));
    EXPECT_EQ(10U, this->client_->ReadBroadcastValue(13, &this->value_));
    EXPECT_EQ(10U, this->client_->ReadBroadcastValue(0x7FFFFFFF, &this->value_));
    EXPECT_EQ(10U, this->client_->ReadBroadcastValue(0x80000000, &this->value_));
    EXPECT_EQ(10U, this->client_->ReadBroadcastValue(0xFFFFFFFF, &this->value_));
    EXPECT_EQ(0x0F0E0D0CU, this->value_);
}

TYPED_TEST(KelcommCommonNtTest, NegativeOffsetIsAnInvalidArgumentHoweverLargeTheDataAreaIs) {
    this->Put(kDataSizeAt, 0xFFFFFFFF);
    EXPECT_EQ(10U, this->client_->ReadBroadcastValue(0x80000000, &this->value_));
    EXPECT_EQ(10U, this->client_->ReadBroadcastValue(0xFFFFFFFB, &this->value_));
    EXPECT_EQ(1U, this->client_->ReadBroadcastValue(0x7FFFFFFF, &this->value_));  // not mapped
    EXPECT_EQ(0xEEEEEEEEU, this->value_);
}

// ---- several threads ----

/// The scripted system, with an action inside the calls that a client makes while it opens the area
/// and while it gives the mutex back: in the midst of a read.
class CSystemWithAction {
  public:
    explicit CSystemWithAction(const NativeFunctions& system) : functions_(system) {
        original = &system;
        functions_.MapViewOfFile = &MapViewOfFile;
        functions_.ReleaseMutex = &ReleaseMutex;
    }
    ~CSystemWithAction() { whileMapping = whileReleasing = nullptr; }
    CSystemWithAction(const CSystemWithAction&) = delete;
    CSystemWithAction& operator=(const CSystemWithAction&) = delete;

    const NativeFunctions& GetFunctions() const { return functions_; }

    static inline std::function<void()> whileMapping;
    static inline std::function<void()> whileReleasing;

  private:
    static void* KYR_NTAPI MapViewOfFile(NtApi::Handle section, std::uint32_t access,
                                         std::uint32_t offsetHigh, std::uint32_t offsetLow,
                                         std::size_t size) {
        if (whileMapping) {
            whileMapping();
        }
        return original->MapViewOfFile(section, access, offsetHigh, offsetLow, size);
    }
    static NtApi::Bool KYR_NTAPI ReleaseMutex(NtApi::Handle mutex) {
        if (whileReleasing) {
            whileReleasing();
        }
        return original->ReleaseMutex(mutex);
    }

    static inline const NativeFunctions* original = nullptr;
    NativeFunctions functions_;
};

template <typename Client>
class KelcommCommonNtThreadsTest : public KelcommCommonNtTest<Client> {
  protected:
    KelcommCommonNtThreadsTest() {
        this->client_ = std::make_unique<Client>(system_.GetFunctions());
        this->InitializeClient();
    }

    /// Closes the client on another thread, which is to find no way in where this is called.
    void ExpectThatCloseWaits() {
        closed_ = std::async(std::launch::async, [this] { this->client_->Close(); });
        EXPECT_EQ(std::future_status::timeout, closed_.wait_for(std::chrono::milliseconds(50)));
    }

    CSystemWithAction system_{this->native_.GetFunctions()};
    std::future<void> closed_;
};
TYPED_TEST_SUITE(KelcommCommonNtThreadsTest, Clients, ClientNames);

TYPED_TEST(KelcommCommonNtTest, ValueThatIsBeingWrittenIsReadWhole) {
    this->Put(40, 0);
    EXPECT_EQ(0U, this->client_->ReadBroadcastValue(0, &this->value_));
    auto* const word =
        reinterpret_cast<volatile std::uint32_t*>(this->native_.area.bytes.data() + 40);
    std::atomic<bool> enough{false};
    std::thread product([&] { WriteUntil(enough, word); });
    // Until it has been read in the midst of writing often enough, or there is no processor free
    // for both.
    bool whole = true;
    std::uint32_t before = 0;
    int changes = 0;
    for (int read = 0; read < 1000000 && changes < 20000 && whole; ++read) {
        EXPECT_EQ(0U, this->client_->ReadBroadcastValue(0, &this->value_));
        whole = this->value_ == 0 || this->value_ == 0xFFFFFFFF;
        changes += this->value_ == before ? 0 : 1;
        before = this->value_;
    }
    enough = true;
    product.join();
    EXPECT_TRUE(whole) << std::hex << this->value_;
}

TYPED_TEST(KelcommCommonNtThreadsTest, CloseWaitsForAValueThatIsBeingRead) {
    CSystemWithAction::whileMapping = [this] { this->ExpectThatCloseWaits(); };
    EXPECT_EQ(0U, this->client_->ReadBroadcastValue(4, &this->value_));
    EXPECT_EQ(0x07060504U, this->value_);
    this->closed_.get();
    EXPECT_EQ(0U, this->native_.CountLive());
}

TYPED_TEST(KelcommCommonNtThreadsTest, CloseWaitsForAnAreaThatIsBeingOpened) {
    CSystemWithAction::whileMapping = [this] { this->ExpectThatCloseWaits(); };
    this->Read(4, 1);  // may find the area closed again
    this->closed_.get();
    EXPECT_EQ(0U, this->native_.CountLive());
}

TYPED_TEST(KelcommCommonNtThreadsTest, CloseWaitsForBytesThatAreBeingRead) {
    CSystemWithAction::whileReleasing = [this] { this->ExpectThatCloseWaits(); };
    EXPECT_EQ(0U, this->Read(4, 1));
    EXPECT_EQ(HexBytes("04"), this->read_);
    this->closed_.get();
    EXPECT_EQ(0U, this->native_.CountLive());
}

}  // namespace

}  // namespace Kyr::Test
