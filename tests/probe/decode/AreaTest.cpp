#include <gmock/gmock.h>

#include "base/LittleEndian.h"
#include "tests/probe/decode/Decoded.h"

namespace Kyr::Probe {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;

// Places in the image: its data begin at 32, and its modules at 72 of them.
constexpr std::size_t kMagic = 8;
constexpr std::size_t kVersion = 16;
constexpr std::size_t kDataSize = 28;
constexpr std::size_t kFirstModule = 44;
constexpr std::size_t kModuleCount = 52;
constexpr std::size_t kServerModule = 124;
constexpr std::size_t kServerSize = 128;

/// A sound area with two modules, of which the second is the server plug-in.
std::string Image() {
    return FromHexText(
        "20000000 00000000 4b656c436f6d6d20 02000000 00000000 20000000 78000000"
        "  00000000 00000000 00000000 48000000 00000000 02000000"
        "  01000000 02000000 03000000 04000000 05000000 00000000 00000000"
        "  06000000 07000000 08000000 09000000 0a000000"
        "  11000000 05000000 70000000 07000000 00000000"
        "  00400001 08000000 70000000 09000000 00000000"
        "  ffffffff 2a000000");
}

std::string With(std::string image, std::size_t place, std::uint32_t word) {
    Base::StoreLittleEndian(&image[place], word);
    return image;
}

Lines Area(const std::string& image) {
    return LinesOf(Decode(image, "area", {}));
}

/// The lines of a sound head, of its values, and `modules`.
Lines Sound(const Lines& modules) {
    Lines lines = {"0+4 size of the head: 32 (0x20)",
                   "8+8 magic: \"KelComm \"",
                   "16+4 version: 2",
                   "24+4 place of the data: 32 (0x20)",
                   "28+4 size of the data: 120 (0x78)",
                   "56+4 value 0: 1",
                   "60+4 value 1: 2",
                   "64+4 value 2: 3",
                   "68+4 value 3: 4",
                   "72+4 value 4: 5",
                   "84+4 value 5: 6",
                   "88+4 value 6: 7",
                   "92+4 value 7: 8",
                   "96+4 value 8: 9",
                   "100+4 value 9: 10 (0xa)"};
    lines.insert(lines.end(), modules.begin(), modules.end());
    return lines;
}

TEST(AreaTest, HeadValuesAndModulesAreShown) {
    EXPECT_THAT(Area(Image()),
                ElementsAreArray(Sound(
                    {"44+4 place of the modules: 72 (0x48)", "52+4 number of modules: 2",
                     "104+4 module: 17 (0x11)", "108+4 size of its block: 5",
                     "112+4 place of its block: 112 (0x70)", "116+4 time stamp of its block: 7",
                     "124+4 module: 16793600 (0x1004000), the server plug-in",
                     "128+4 size of its block: 8", "132+4 place of its block: 112 (0x70)",
                     "136+4 time stamp of its block: 9", "148+4 value 10: 42 (0x2a)"})));
}

TEST(AreaTest, AreaWithoutModulesHasNone) {
    EXPECT_THAT(Area(With(Image(), kModuleCount, 0)),
                ElementsAreArray(
                    Sound({"44+4 place of the modules: 72 (0x48)", "52+4 number of modules: 0"})));
}

TEST(AreaTest, HeadOfAnotherFormatIsBlamed) {
    EXPECT_THAT(
        Area(With(With(With(Image(), 0, 33), kMagic, 0), kVersion, 3)),
        testing::IsSupersetOf({"0+4 size of the head: 33 (0x21) !must be 32 (0x20)",
                               "8+8 magic: \"\\x00\\x00\\x00\\x00omm \" !must be \"KelComm \"",
                               "16+4 version: 3 !must be 2"}));
}

TEST(AreaTest, HeadMayBeCut) {
    EXPECT_THAT(Area(""), ElementsAre("0+4 size of the head:  !outside of the area",
                                      "8+8 magic: \"\" !must be \"KelComm \"",
                                      "16+4 version:  !outside of the area",
                                      "24+4 place of the data:  !outside of the area",
                                      "28+4 size of the data:  !outside of the area"));
    EXPECT_THAT(Area(Image().substr(0, 31)),
                ElementsAre("0+4 size of the head: 32 (0x20)", "8+8 magic: \"KelComm \"",
                            "16+4 version: 2", "24+4 place of the data: 32 (0x20)",
                            "28+4 size of the data:  !outside of the area"));
    EXPECT_THAT(Area(Image().substr(0, 12)), Contains("8+8 magic: \"KelC\" !must be \"KelComm \""));
}

TEST(AreaTest, DataEndWhereTheyAreToldTo) {
    EXPECT_THAT(Area(With(Image(), kDataSize, 119)),
                testing::IsSupersetOf({"28+4 size of the data: 119 (0x77)",
                                       "148+4 value 10:  !outside of the area"}));
    EXPECT_THAT(Area(With(Image(), kDataSize, 27)),
                testing::IsSupersetOf({"56+4 value 0:  !outside of the area"}));
    EXPECT_THAT(Area(With(Image(), kDataSize, 28)), Contains("56+4 value 0: 1"));
}

TEST(AreaTest, DataEndWithTheSectionWhateverIsTold) {
    EXPECT_THAT(Area(With(Image(), kDataSize, 121)),
                testing::IsSupersetOf({"28+4 size of the data: 121 (0x79) !more than the 152 "
                                       "bytes of the section",
                                       "148+4 value 10: 42 (0x2a)"}));
    EXPECT_THAT(Area(Image().substr(0, 151)),
                testing::IsSupersetOf({"28+4 size of the data: 120 (0x78) !more than the 151 "
                                       "bytes of the section",
                                       "148+4 value 10:  !outside of the area"}));
}

TEST(AreaTest, ModulesOutsideOfTheDataAreLookedForOnce) {
    EXPECT_THAT(Area(With(Image(), kFirstModule, 512)),
                ElementsAreArray(
                    Sound({"44+4 place of the modules: 512 (0x200)", "52+4 number of modules: 2",
                           "544+4 module:  !outside of the area"})));
}

TEST(AreaTest, NumberOfModulesMayBeOutside) {
    EXPECT_THAT(DecodedFrom(32,
                            "20000000 00000000 4b656c436f6d6d20 02000000 00000000 20000000 10000000"
                            "  00000000 00000000 00000000 48000000",
                            "area"),
                testing::IsSupersetOf({"44+4 place of the modules: 72 (0x48)",
                                       "52+4 number of modules:  !outside of the area"}));
    const Lines lines = Area(With(Image(), kDataSize, 16));
    EXPECT_EQ(lines.back(), "52+4 number of modules:  !outside of the area");
}

TEST(AreaTest, ModuleThatIsCutIsTheLast) {
    // The third entry begins in the block of the others.
    for (const std::uint32_t count : {3u, 4u}) {
        const Lines lines = Area(With(Image(), kModuleCount, count));
        ASSERT_GE(lines.size(), 4u);
        EXPECT_THAT(Lines(lines.end() - 4, lines.end()),
                    ElementsAre("144+4 module: 4294967295 (0xffffffff)",
                                "148+4 size of its block: 42 (0x2a)",
                                "152+4 place of its block:  !outside of the area",
                                "156+4 time stamp of its block:  !outside of the area"));
    }
}

TEST(AreaTest, ServerThatIsCutHasNoValue) {
    for (const std::uint32_t size : {96u, 100u, 104u}) {
        EXPECT_EQ(Area(With(Image(), kDataSize, size)).back(),
                  "136+4 time stamp of its block:  !outside of the area");
    }
}

TEST(AreaTest, BlockThatIsTooSmallForItsValueIsBlamed) {
    const Lines lines = Area(With(Image(), kServerSize, 7));
    ASSERT_GE(lines.size(), 3u);
    EXPECT_THAT(
        Lines(lines.end() - 3, lines.end()),
        ElementsAre("128+4 size of its block: 7 !too small for value 10",
                    "132+4 place of its block: 112 (0x70)", "136+4 time stamp of its block: 9"));
}

TEST(AreaTest, BlocksOfOthersMayBeSmall) {
    EXPECT_EQ(Area(With(Image(), kServerModule, 0x1004001)).back(),
              "136+4 time stamp of its block: 9");
}

TEST(AreaTest, NoMoreThanAThousandModulesAreShown) {
    std::string image = With(With(Image(), kDataSize, 30072), kModuleCount, 1001);
    image.resize(104);
    image.resize(30104);
    const Lines lines = Area(image);
    EXPECT_EQ(lines.size(), 17u + 1000 * 4);
    EXPECT_EQ(lines.back(), "20096+4 time stamp of its block: 0");
}

}  // namespace
}  // namespace Kyr::Probe
