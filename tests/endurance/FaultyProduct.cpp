#include "tests/endurance/FaultyProduct.h"

#include "lab/common/CommandWords.h"

namespace Kyr::Endurance {

namespace {

using namespace Lab;
using namespace Lab::SimProduct;

const char* const kFaults[] = {
    "status 1",       "status 5",     "status 14",        "status 2",
    "code 1",         "code 9",       "short 0",          "short 11",
    "header-size 13", "value 7",      "oversized 70000",  "oversized 300000",
    "bad-length",     "bad-length 0", "delay 1",          "drop",
    "view-missing",   "view-small",   "drop command=any", "code 3 command=any"};

constexpr AreaField kFields[] = {
    AreaField::kHeaderSize, AreaField::kVersion,     AreaField::kDataOffset, AreaField::kDataSize,
    AreaField::kModuleId,   AreaField::kModuleCount, AreaField::kUserSize,   AreaField::kUserOffset,
    AreaField::kTimestamp,  AreaField::kFirstModule};
constexpr std::uint32_t kLies[] = {0,          1,          7,          31,        1017,
                                   0x7FFFFFFF, 0x80000000, 0xFFFFFFFC, 0xFFFFFFFF};

template <std::size_t Size, typename Value>
const Value& Pick(Random& random, const Value (&values)[Size]) {
    return values[random() % Size];
}

}  // namespace

CFaultyProduct::CFaultyProduct(CTaskLedger& ledger)
    : ledger_(ledger), launcher_(MakeSystemLauncher()) {}

CFaultyProduct::~CFaultyProduct() = default;

void CFaultyProduct::Restart() {
    End();
    misbehaviours_.Clear();
    const auto sink = [this](const CLine& line) {
        const std::string* const userData = line.Find("userdata");
        if (line.Kind() == "did" && userData != nullptr) {
            const std::string identifier = userData->substr(userData->rfind(';') + 1);
            if (*line.Find("action") == "task-result") {
                ledger_.HandedOut(identifier);
            } else {
                ledger_.Reached(identifier);
            }
        }
    };
    running_ = std::make_unique<SimulatedProduct>(*launcher_, misbehaviours_, "",
                                                  CRequestDesk::Settings{false, [] {}}, sink);
    running_->area.Open();
    running_->alpc->Open();
    running_->lpc->Open();
}

void CFaultyProduct::End() {
    running_.reset();
}

void CFaultyProduct::MisbehaveOnce(Random& random, bool hang) {
    const std::string fault = hang ? "hang" : Pick(random, kFaults);
    misbehaviours_.Add(ParseMisbehaviour(SplitWords(fault + " for=1")));
}

void CFaultyProduct::ChangeArea(Random& random) {
    if (!IsThere()) {
        return;
    }
    CBroadcastArea& area = running_->area;
    switch (random() % 5) {
        case 0:
            area.SetValue(random() % CAreaImage::kValues, static_cast<std::uint32_t>(random()));
            break;
        case 1:
            area.Change(
                [&](CAreaImage& image) { image.MovePlugIn(random() % CAreaImage::kModules); });
            break;
        case 2:
            area.Change([&](CAreaImage& image) {
                image.Write(Pick(random, kFields), Pick(random, kLies));
            });
            break;
        case 3:
            area.Abandon();
            break;
        default:
            area.Restore();
    }
}

void CFaultyProduct::CloseAPort(Random& random) {
    if (IsThere()) {
        (random() % 2 == 0 ? running_->alpc : running_->lpc)->Close();
    }
}

}  // namespace Kyr::Endurance
