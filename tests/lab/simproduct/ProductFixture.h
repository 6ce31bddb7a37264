// A whole product over fake processes, with one program file of known digests, whoever types its
// commands, and a name space of its own. Nothing of it is served until a test opens it.
#pragma once

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>

#include "lab/simproduct/SimulatedProduct.h"
#include "lab/simproduct/typed/TypedCommands.h"
#include "tests/lab/common/LineList.h"
#include "tests/lab/simproduct/FakeLauncher.h"
#include "tests/support/product/InstalledProduct.h"
#include "tests/support/system/RunDirectory.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::SimProduct {

/// The digests of "abc", which is all that the program file holds.
constexpr char kSha1[] = "a9993e364706816aba3e25717850c26c9cd0d89d";
constexpr char kSha256[] = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

class ProductFixture : public ::testing::Test {
  protected:
    ProductFixture() { std::ofstream(program_, std::ios::binary) << "abc"; }

    /// Starts "one", which gets the number 1000, and forgets the events of the start.
    void StartOne() {
        product_.tasks.Start("one", program_, {});
        lines_.Take();
    }

    /// Carries out a typed line; the events that it wrote.
    std::vector<std::string> Execute(const std::string& line) {
        console_.Execute(line);
        return lines_.Take();
    }

    /// Carries out an inner command; the bytes of its reply.
    Bytes Ask(std::uint32_t command, const Bytes& body = {}) {
        return EncodeReply(product_.commands.Perform({command, body}));
    }

    const Kyr::Test::CInstalledProduct place_;  // takes back what the product registers
    const Kyr::Test::CRunDirectory directory_;
    const Kyr::Test::CTemporaryFolder folder_;
    // With slashes everywhere: a line puts a word with backslashes in quotes.
    const std::string program_ = std::filesystem::path(folder_.File("program")).generic_string();
    CLineList lines_;
    CFakeLauncher launcher_;
    CMisbehaviours misbehaviours_;
    const std::string records_ = folder_.File("records");
    SimulatedProduct product_{launcher_, misbehaviours_, records_, {}, lines_.Sink()};
    std::uint64_t most_ = 1000;  // actions, after which the program is asked to end
    CConsole console_{
        {ProcessCommands(product_.tasks, program_),
         FaultCommands(misbehaviours_, *product_.alpc, *product_.lpc), AreaCommands(product_.area),
         StateCommands(product_.protection, product_.results, product_.configuration),
         RecordListCommands(
             product_.records, product_.telemetry, Base::SystemClock(),
             [this] { return product_.records.Count(RecordKind::kAction) == most_; })},
        lines_.Sink()};
};

}  // namespace Kyr::Lab::SimProduct
