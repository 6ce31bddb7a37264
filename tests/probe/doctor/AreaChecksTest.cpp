#include <gmock/gmock.h>

#include "probe/decode/HexText.h"
#include "probe/doctor/AreaChecks.h"

namespace Kyr::Probe {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;

/// A head of 32 bytes, then 72 bytes of data: no modules, all values 0.
std::string SoundImage() {
    return FromHexText("20000000 00000000 4b656c43 6f6d6d20 02000000 00000000 20000000 48000000") +
           std::string(72, '\0');
}

AreaSnapshot Snapshot(const std::string& image, MutexState mutex = MutexState::kFree) {
    return {mutex, true, image};
}

std::vector<std::string> Lines(const AreaSnapshot& snapshot, bool productIsThere = true) {
    Checks checks;
    CheckArea(snapshot, productIsThere, checks);
    std::vector<std::string> lines;
    for (const Check& check : checks) {
        EXPECT_EQ(check.verdict == Verdict::kFine, check.next.empty()) << check.name;
        lines.push_back(std::string(NameOf(check.verdict)) + ' ' + check.name + ": " + check.why);
    }
    return lines;
}

TEST(AreaChecksTest, SoundAreaIsFine) {
    EXPECT_THAT(Lines(Snapshot(SoundImage())),
                ElementsAre("fine area: 104 bytes", "fine area header: as this connector reads it",
                            "fine area bounds: all values are inside",
                            "fine module table: all modules are inside", "fine area mutex: free"));
}

TEST(AreaChecksTest, AreaWithoutAProductIsLeftOver) {
    EXPECT_THAT(Lines(Snapshot(SoundImage()), false),
                Contains("doubtful area: 104 bytes, left by a product that is gone"));
}

TEST(AreaChecksTest, WithoutASectionThereIsOneLine) {
    EXPECT_THAT(Lines({MutexState::kAbsent, false, ""}), ElementsAre("wrong area: not there"));
}

TEST(AreaChecksTest, OtherVersionIsTheHeaders) {
    std::string image = SoundImage();
    image[16] = 3;
    EXPECT_THAT(Lines(Snapshot(image)), Contains("wrong area header: version 3: must be 2"));
}

TEST(AreaChecksTest, EachPlaceOfAHeadThatIsCutIsNamedOnce) {
    EXPECT_THAT(Lines(Snapshot(SoundImage().substr(0, 10))),
                ElementsAre("wrong area: 10 bytes: too short for its header",
                            StartsWith("wrong area header: magic"),
                            StartsWith("wrong area bounds: place of the data"),
                            "fine module table: all modules are inside", "fine area mutex: free"));
}

TEST(AreaChecksTest, ModulesOutsideAreTheTables) {
    std::string image = SoundImage();
    image[32 + 12] = 60;
    image[32 + 20] = 1;
    EXPECT_THAT(Lines(Snapshot(image)),
                Contains("wrong module table: time stamp of its block: outside of the area"));
}

TEST(AreaChecksTest, MutexIsToldInEveryState) {
    EXPECT_THAT(Lines(Snapshot(SoundImage(), MutexState::kHeld)),
                Contains("wrong area mutex: held by somebody, and not given back"));
    EXPECT_THAT(Lines(Snapshot(SoundImage(), MutexState::kAbandoned)),
                Contains("doubtful area mutex: abandoned: who held it has died"));
    EXPECT_THAT(Lines(Snapshot(SoundImage(), MutexState::kAbsent)),
                Contains("wrong area mutex: not there: the area cannot be opened"));
    EXPECT_THAT(Lines(Snapshot(SoundImage(), MutexState::kUnknown)),
                Contains("wrong area mutex: cannot be waited for"));
}

}  // namespace
}  // namespace Kyr::Probe
