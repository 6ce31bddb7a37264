// Named mutexes and sections, within a process and across two.
#include <future>
#include <thread>

#include "tests/portlayer/ChildProcess.h"
#include "tests/portlayer/PortFixture.h"

namespace Kyr::Test {

namespace {

constexpr const char16_t* kMutex = u"Global\\ContractMutex";
constexpr const char16_t* kSection = u"Global\\ContractSection";
constexpr std::uint32_t kAbandoned = 0x80;
constexpr std::uint32_t kTimeout = 0x102;
constexpr std::uint32_t kSynchronize = 0x100001;
constexpr std::uint32_t kMapRead = 4;
constexpr std::uint32_t kMapWrite = 2;

class NamedObjectsTest : public PortFixture {
  protected:
    Handle MakeMutex(bool owned = false) {
        return CloseLater(CreateMutexW(nullptr, owned, kMutex));
    }
    Handle FindMutex() { return CloseLater(OpenMutexW(kSynchronize, 0, kMutex)); }
    Handle OpenSection() { return CloseLater(OpenFileMappingW(kMapRead, 0, kSection)); }
};

TEST_F(NamedObjectsTest, UnknownNamesCannotBeOpened) {
    EXPECT_EQ(FindMutex(), nullptr);
    EXPECT_EQ(OpenSection(), nullptr);
}

TEST_F(NamedObjectsTest, NameEndsWithTheLastHandle) {
    const Handle created = MakeMutex();
    const Handle opened = FindMutex();
    ASSERT_NE(opened, nullptr);
    EXPECT_EQ(CloseHandle(created), 1);
    const Handle third = FindMutex();
    ASSERT_NE(third, nullptr);
    EXPECT_EQ(CloseHandle(opened), 1);
    EXPECT_EQ(CloseHandle(third), 1);
    EXPECT_EQ(FindMutex(), nullptr);
}

TEST_F(NamedObjectsTest, OwnerMayTakeAMutexAgain) {
    const Handle mutex = MakeMutex(true);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), 0u);
    std::thread([&] { EXPECT_EQ(WaitForSingleObject(mutex, 2), kTimeout); }).join();
    EXPECT_EQ(ReleaseMutex(mutex), 1);
    std::thread([&] { EXPECT_EQ(WaitForSingleObject(mutex, 0), kTimeout); }).join();
    EXPECT_EQ(ReleaseMutex(mutex), 1);
    EXPECT_EQ(ReleaseMutex(mutex), 0);
}

TEST_F(NamedObjectsTest, OnlyTheOwnerReleasesAMutex) {
    const Handle mutex = MakeMutex(true);
    std::thread([&] { EXPECT_EQ(ReleaseMutex(mutex), 0); }).join();
    EXPECT_EQ(ReleaseMutex(mutex), 1);
}

TEST_F(NamedObjectsTest, MutexOfADeadThreadIsAbandoned) {
    const Handle mutex = MakeMutex();
    std::thread([&] { EXPECT_EQ(WaitForSingleObject(mutex, 0), 0u); }).join();
    EXPECT_EQ(WaitForSingleObject(mutex, 5000), kAbandoned);
    EXPECT_EQ(ReleaseMutex(mutex), 1);
    EXPECT_EQ(WaitForSingleObject(mutex, 5000), 0u);
    EXPECT_EQ(ReleaseMutex(mutex), 1);
}

TEST_F(NamedObjectsTest, MutexOfADeadProcessIsAbandoned) {
    CChildProcess child([this](CChildProcess& self) {
        self.AwaitGo();
        EXPECT_EQ(WaitForSingleObject(FindMutex(), 5000), 0u);
        self.Ready();
        self.WaitForEver();
    });
    const Handle mutex = MakeMutex();
    child.Go();
    child.AwaitReady();
    EXPECT_EQ(WaitForSingleObject(mutex, 2), kTimeout);
    child.Kill();
    EXPECT_EQ(WaitForSingleObject(mutex, 5000), kAbandoned);
    EXPECT_EQ(ReleaseMutex(mutex), 1);
}

TEST_F(NamedObjectsTest, ExistingMutexIsNotTakenByWhoWouldHaveOwnedANewOne) {
    const Handle first = MakeMutex();
    const Handle second = MakeMutex(true);
    std::thread([&] {
        EXPECT_EQ(WaitForSingleObject(first, 0), 0u);
        EXPECT_EQ(ReleaseMutex(first), 1);
    }).join();
    EXPECT_EQ(ReleaseMutex(second), 0);
}

TEST_F(NamedObjectsTest, MutexThatItsOwnerClosedIsAbandonedWhenTheOwnerEnds) {
    const Handle mutex = MakeMutex();
    std::thread([&] {
        const Handle own = FindMutex();
        EXPECT_EQ(WaitForSingleObject(own, 0), 0u);
        CloseHandle(own);
        // The owner's other mutexes are linked with the closed one.
        const Handle other = CreateMutexW(nullptr, 1, u"Global\\OtherMutex");
        EXPECT_EQ(WaitForSingleObject(mutex, 0), 0u);
        EXPECT_EQ(ReleaseMutex(mutex), 1);
        EXPECT_EQ(ReleaseMutex(other), 1);
        CloseHandle(other);
    }).join();
    EXPECT_EQ(WaitForSingleObject(mutex, 5000), kAbandoned);
    EXPECT_EQ(ReleaseMutex(mutex), 1);
}

TEST_F(NamedObjectsTest, MutexClosedWhileAThreadWaitsIsStillTaken) {
    const Handle mutex = MakeMutex(true);
    const Handle closed = FindMutex();
    std::promise<void> waits;
    std::thread waiting([&] {
        waits.set_value();
        EXPECT_EQ(WaitForSingleObject(closed, 0xFFFFFFFF), 0u);
        const Handle other = CreateMutexW(nullptr, 1, u"Global\\OtherMutex");
        EXPECT_EQ(ReleaseMutex(other), 1);
        CloseHandle(other);
    });
    waits.get_future().wait();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    CloseHandle(closed);
    EXPECT_EQ(ReleaseMutex(mutex), 1);
    waiting.join();
    EXPECT_EQ(WaitForSingleObject(mutex, 5000), kAbandoned);
    EXPECT_EQ(ReleaseMutex(mutex), 1);
}

TEST_F(NamedObjectsTest, ObjectsOfADeadProcessAreForgotten) {
    CChildProcess child([this](CChildProcess& self) {
        MakeMutex(true);
        CreateSection(64, kSection);
        self.Ready();
        self.WaitForEver();
    });
    child.AwaitReady();
    child.Kill();
    EXPECT_EQ(FindMutex(), nullptr);
    EXPECT_EQ(OpenSection(), nullptr);
}

TEST_F(NamedObjectsTest, SectionIsSharedBetweenProcesses) {
    CChildProcess child([](CChildProcess& self) {
        self.AwaitGo();
        const Handle section = OpenFileMappingW(kMapWrite | kMapRead, 0, kSection);
        std::uint8_t* const view = Map(section, kMapWrite | kMapRead);
        EXPECT_EQ(view[0], 7);
        view[1] = 8;
    });
    const Handle section = CreateSection(4096, kSection);
    std::uint8_t* const view = Map(section, kMapWrite);
    ASSERT_NE(view, nullptr);
    view[0] = 7;
    child.Go();
    EXPECT_EQ(child.ExitCode(), 0);
    EXPECT_EQ(view[1], 8);
    EXPECT_EQ(UnmapViewOfFile(view), 1);
    EXPECT_EQ(UnmapViewOfFile(view), 0);
}

TEST_F(NamedObjectsTest, ViewKeepsTheMemoryOfAClosedSection) {
    const Handle section = CreateSection(100, kSection);
    const std::uint8_t* const view = Map(section, kMapRead);
    CloseHandle(section);
    EXPECT_EQ(view[99], 0);
    EXPECT_EQ(UnmapViewOfFile(view), 1);
    EXPECT_EQ(OpenSection(), nullptr);
}

TEST_F(NamedObjectsTest, ReadOnlySectionCannotBeMappedForWriting) {
    CreateSection(4096, kSection);
    const Handle opened = OpenSection();
    EXPECT_EQ(Map(opened, kMapWrite), nullptr);
    EXPECT_EQ(MapViewOfFile(opened, kMapRead, 0, 0, 4097), nullptr);
    std::uint8_t* const view = Map(opened, kMapRead);
    EXPECT_NE(view, nullptr);
    UnmapViewOfFile(view);
}

}  // namespace

}  // namespace Kyr::Test
