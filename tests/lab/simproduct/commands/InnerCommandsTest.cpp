#include "tests/lab/simproduct/ProductFixture.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Test::HexBytes;
using ::testing::ElementsAre;

const RecordKind kIndicator = RecordKind::kIndicator;
const RecordKind kTelemetry = RecordKind::kTelemetry;
const RecordKind kAction = RecordKind::kAction;

void Append(SimulatedProduct& product, RecordKind kind, const std::string& text,
            std::int32_t type = 0) {
    product.records.Append(kind, [&](std::uint64_t) { return ProductRecord{text, type}; });
}

struct Exchange {
    const char* name;  // situation and outcome
    void (*prepare)(SimulatedProduct& product);
    std::uint32_t command;
    const char* body;
    const char* reply;
    const char* told;  // the event, or nothing
};

const Exchange kExchanges[] = {
    {"UnknownCommandIsAnErrorStatus", [](SimulatedProduct&) {}, 0x22, "",
     "0C 00 00 00 01 00 00 00 00 00 00 00", ""},
    {"StatusIsTheReportBehindItsLength",
     [](SimulatedProduct& product) { product.protection.ReportInstead("<TULK/>"); }, 0x21, "",
     "0C 00 00 00 00 00 00 00 07 00 00 00 3C 54 55 4C 4B 2F 3E", ""},
    {"ImportHasNoPayload", [](SimulatedProduct&) {}, 0x6D, "61 62 63",
     "0C 00 00 00 00 00 00 00 00 00 00 00", "did action=import length=3"},
    {"ExportIsTheConfigurationBehindItsLengthWhateverItsBytes",
     [](SimulatedProduct& product) {
         product.configuration.Replace({"\0\xFF\0", 3});
     },
     0x6E, "", "0C 00 00 00 00 00 00 00 03 00 00 00 00 FF 00", "did action=export length=3"},
    {"ExportOfNothingHasNoPayload",
     [](SimulatedProduct& product) { product.configuration.Replace(""); }, 0x6E, "",
     "0C 00 00 00 00 00 00 00 00 00 00 00", "did action=export length=0"},
    {"OldestResultIsHandedOut",
     [](SimulatedProduct& product) {
         product.results.Add({kTaskDone, "a;b;c"});
         product.results.Add({kTaskFailed, ""});
     },
     0x70, "",
     "0C 00 00 00 00 00 00 00 18 00 00 00 "
     "00 00 00 00 01 00 00 00 0C 00 00 00 61 00 3B 00 62 00 3B 00 63 00 00 00",
     "did action=task-result outcome=1 userdata=a;b;c"},
    {"WithoutAResultThereIsNoPayload", [](SimulatedProduct&) {}, 0x70, "",
     "0C 00 00 00 00 00 00 00 00 00 00 00", ""},
    // U+00E9, then U+1F600
    {"UserDataIsUtf16WithSurrogatePairs",
     [](SimulatedProduct& product) {
         product.results.Add({7, "\xC3\xA9\xF0\x9F\x98\x80"});
     },
     0x70, "",
     "0C 00 00 00 00 00 00 00 14 00 00 00 00 00 00 00 07 00 00 00 0C 00 00 00 "
     "E9 00 3D D8 00 DE 00 00",
     "did action=task-result outcome=7 userdata=\xC3\xA9\xF0\x9F\x98\x80"},
    {"OffsetOfUserDataIsWrittenAsItIsTold",
     [](SimulatedProduct& product) {
         product.results.Add({kTaskDone, "a", 0xFFFFFFFF});
     },
     0x70, "",
     "0C 00 00 00 00 00 00 00 10 00 00 00 00 00 00 00 01 00 00 00 FF FF FF FF 61 00 00 00",
     "did action=task-result outcome=1 userdata=a"},
    {"AgentUuidIsTold", [](SimulatedProduct&) {}, 0x9A,
     "04 01 00 00 04 00 00 00 03 00 00 00 02 00 10 00 03 00 00 00 30 66 00",
     "0C 00 00 00 00 00 00 00 00 00 00 00", "did action=agent-uuid uuid=0f"},
    {"IndicatorsComeInOrder",
     [](SimulatedProduct& product) {
         Append(product, kIndicator, "ab");
         Append(product, kIndicator, "c");
     },
     0x00100000, "", "0C 00 00 00 00 00 00 00 07 00 00 00 0A 02 61 62 0A 01 63",
     "handed kind=indicator from=1 records=2"},
    {"TelemetryBehindTheOffsetComes",
     [](SimulatedProduct& product) {
         Append(product, kTelemetry, "ab");
         Append(product, kTelemetry, "c");
     },
     0x00100002, "08 01", "0C 00 00 00 00 00 00 00 03 00 00 00 0A 01 63",
     "handed kind=telemetry from=2 records=1"},
    {"ActionsCarryTypeAndText",
     [](SimulatedProduct& product) { Append(product, kAction, "ab", 3); }, 0x00100001, "",
     "0C 00 00 00 00 00 00 00 08 00 00 00 0A 06 08 03 12 02 61 62",
     "handed kind=action from=1 records=1"},
    {"NegativeActionTypeIsWidened",
     [](SimulatedProduct& product) { Append(product, kAction, "", -1); }, 0x00100001, "",
     "0C 00 00 00 00 00 00 00 0F 00 00 00 0A 0D 08 FF FF FF FF FF FF FF FF FF 01 12 00",
     "handed kind=action from=1 records=1"},
    {"WithoutNewRecordsThereIsNoPayload",
     [](SimulatedProduct& product) { Append(product, kIndicator, "ab"); }, 0x00100000, "08 01",
     "0C 00 00 00 00 00 00 00 00 00 00 00", ""},
};

class InnerCommandsTest : public ProductFixture, public ::testing::WithParamInterface<Exchange> {};

TEST_P(InnerCommandsTest, IsAnsweredAndTold) {
    GetParam().prepare(product_);

    EXPECT_EQ(HexBytes(GetParam().reply), Ask(GetParam().command, HexBytes(GetParam().body)));
    const std::string told = GetParam().told;
    EXPECT_EQ(told.empty() ? std::vector<std::string>() : std::vector{told}, lines_.Take());
}

INSTANTIATE_TEST_SUITE_P(All, InnerCommandsTest, ::testing::ValuesIn(kExchanges),
                         [](const auto& row) { return row.param.name; });

class InnerCommandsDeedTest : public ProductFixture {
  protected:
    std::uint32_t PerformXml(const std::string& function,
                             std::map<std::string, std::string> nodes) {
        return product_.commands.Perform({kXmlCommand, {}, {function, std::move(nodes)}}).status;
    }
};

TEST_F(InnerCommandsDeedTest, ImportReplacesTheConfiguration) {
    Ask(0x6D, {0, 0xFF, 0});

    EXPECT_EQ(std::string("\0\xFF\0", 3), product_.configuration.Text());
}

TEST_F(InnerCommandsDeedTest, EachQuestionFetchesOneResultUntilNoneIsLeft) {
    product_.results.Add({kTaskDone, "a"});
    product_.results.Add({kTaskFailed, ""});
    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 10 00 00 00 "
                       "00 00 00 00 01 00 00 00 0C 00 00 00 61 00 00 00"),
              Ask(0x70));
    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 0E 00 00 00 "
                       "00 00 00 00 02 00 00 00 0C 00 00 00 00 00"),
              Ask(0x70));
    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 00 00 00 00"), Ask(0x70));
}

TEST_F(InnerCommandsDeedTest, BodyThatCannotBeReadIsMalformed) {
    EXPECT_THROW(Ask(0x00100000, {8}), CMalformed);
    EXPECT_THROW(Ask(0x9A, {}), CMalformed);
}

TEST_F(InnerCommandsDeedTest, BatchThatIsAskedForAgainIsTheSameUntilSomethingElseIsToGoOut) {
    const Bytes first = HexBytes("0C 00 00 00 00 00 00 00 04 00 00 00 0A 02 61 62");
    Append(product_, kIndicator, "ab");
    Append(product_, kTelemetry, "d");
    EXPECT_EQ(first, Ask(0x00100000));
    EXPECT_EQ(first, Ask(0x00100000));
    EXPECT_THAT(lines_.Take(), ElementsAre("handed kind=indicator from=1 records=1",
                                           "handed kind=indicator from=1 records=1"));
    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 03 00 00 00 0A 01 64"), Ask(0x00100002));
    Append(product_, kIndicator, "c");
    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 07 00 00 00 0A 02 61 62 0A 01 63"),
              Ask(0x00100000));
    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 03 00 00 00 0A 01 63"),
              Ask(0x00100000, HexBytes("08 01")));
    Ask(0x00100000);
    product_.records.SetLimit({1, 1000});
    EXPECT_EQ(first, Ask(0x00100000));
}

TEST_F(InnerCommandsDeedTest, KillHashesAreHeeded) {
    StartOne();

    PerformXml("KILL_PROCESS_BY_PID", {{"PID", "1000"}, {"HASH_SHA2_256", "00"}});

    EXPECT_EQ("another program has that hash", product_.tasks.TaskLog().at(0).Value("text"));
}

TEST_F(InnerCommandsDeedTest, BlockTakesHashesDeleteFlagAndUserData) {
    EXPECT_EQ(0u, PerformXml("BLOCK_EXECUTABLE_BY_HASH", {{"HASH_SHA1", "s1"},
                                                          {"HASH_SHA2_256", "s2"},
                                                          {"DELETE", "1"},
                                                          {"USERDATA", "a;b;c"}}));
    PerformXml("BLOCK_EXECUTABLE_BY_HASH", {{"HASH_SHA1", "s1"}, {"DELETE", "0"}});

    EXPECT_THAT(lines_.Take(),
                ElementsAre("did action=block sha1=s1 sha256=s2 delete=yes outcome=done "
                            "text=blocked userdata=a;b;c",
                            "did action=block sha1=s1 sha256=\"\" delete=no outcome=done "
                            "text=blocked userdata=\"\""));
}

TEST_F(InnerCommandsDeedTest, UnknownFunctionIsAnErrorStatus) {
    EXPECT_EQ(3u, PerformXml("RESTART_FDE", {}));
    EXPECT_TRUE(product_.tasks.TaskLog().empty());
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
