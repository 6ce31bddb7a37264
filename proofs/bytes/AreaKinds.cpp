// The image of the broadcast area: what a channel reads of it that finds it so, and what one reads
// that has seen it sound before.
#include <algorithm>
#include <cstring>
#include <optional>

#include <boost/make_shared.hpp>

#include "kelcomm/OvAgentChannel.h"
#include "kelcomm/ports/KelcommClientNt.h"
#include "proofs/bytes/Kind.h"
#include "proofs/bytes/Wire.h"
#include "tests/support/system/ScriptedNative.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Proofs::Bytes {

namespace {

using Connectors::OvAgentConnector::COvAgentChannel;

constexpr std::size_t kValuePlaces[] = {24, 28, 32, 36, 40, 52, 56, 60, 64, 68};
constexpr std::int32_t kPlugIn = 10;
constexpr std::uint32_t kPlugInId = 0x1004000;
constexpr std::size_t kTable = 72;  // of the samples, in the data
constexpr std::size_t kUserData = 112;
constexpr std::uint32_t kPlugInValue = 0x55667788;

constexpr char kGotValue[] = "value read";
constexpr char kGotPlugIn[] = "plug-in's value read";
constexpr char kNoPlugIn[] = "no plug-in";

Result Got(std::uint32_t value) {
    return {kGotValue, std::to_string(value)};
}

/// What the format says of an image.
class CImage {
  public:
    explicit CImage(const Input& bytes) : bytes_(bytes) {}

    bool CanBeOpened() const {
        return bytes_.size() >= 32 && WordAt(bytes_, 0) == 32 &&
               std::memcmp(bytes_.data() + 8, "KelComm ", 8) == 0 && WordAt(bytes_, 16) == 2;
    }

    std::optional<Input> Block(std::uint64_t place, std::uint32_t length) const {
        if (bytes_.size() < 32 || place > 0x7FFFFFFF || place + length > WordAt(bytes_, 28) ||
            WordAt(bytes_, 24) + place + length > bytes_.size()) {
            return std::nullopt;
        }
        const auto begin = bytes_.begin() + static_cast<std::ptrdiff_t>(WordAt(bytes_, 24) + place);
        return Input(begin, begin + length);
    }

    std::optional<std::uint32_t> Number(std::uint64_t place) const {
        const auto block = Block(place, 4);
        return block ? std::optional(WordAt(*block, 0)) : std::nullopt;
    }

  private:
    const Input& bytes_;
};

/// What is known of the plug-in's entry from a look before.
struct Entry {
    std::uint32_t table;
    std::uint32_t index;
    std::uint32_t timestamp;
    std::uint32_t value;
};

class CPlugInReader {
  public:
    CPlugInReader(const Input& bytes, const std::optional<Entry>& known)
        : image_(bytes), known_(known) {}

    Result Read() {
        const auto fail = [](const char* what) -> Result {
            return {std::string("CKelcommChannel: Get ") + what, ""};
        };
        if (known_) {
            table_ = known_->table;
            const auto timestamp = Field(known_->index, 12);
            if (!timestamp) {
                return fail("user data timestamp broadcast failed");
            }
            if (timestamp == known_->timestamp) {
                return {kGotPlugIn, std::to_string(known_->value)};
            }
            const auto id = Field(known_->index, 0);
            if (!id) {
                return fail("module id broadcast failed");
            }
            if (id == kPlugInId) {
                return ReadValue(known_->index);
            }
        }
        const auto count = image_.Number(20);
        if (!count) {
            return fail("modules count broadcast failed");
        }
        for (std::uint32_t index = 0; index < *count; ++index) {
            // The table is not at the very beginning: that stands for not yet known.
            if (table_ == 0) {
                const auto table = image_.Number(12);
                if (!table) {
                    return fail("first module offset broadcast failed");
                }
                table_ = *table;
            }
            const auto id = Field(index, 0);
            if (!id) {
                return fail("module id broadcast failed");
            }
            if (id == kPlugInId) {
                return Field(index, 12) ? ReadValue(index)
                                        : fail("user data timestamp broadcast failed");
            }
        }
        return {kNoPlugIn, "-1"};
    }

  private:
    std::optional<std::uint32_t> Field(std::uint32_t index, std::uint32_t field) const {
        return image_.Number(table_ + std::uint64_t{20} * index + field);
    }

    Result ReadValue(std::uint32_t index) const {
        const auto place = Field(index, 8);
        if (!place) {
            return {"CKelcommChannel: Get user data offset broadcast failed", ""};
        }
        const auto size = Field(index, 4);
        if (!size) {
            return {"CKelcommChannel: Get user data size broadcast failed", ""};
        }
        if (*size < 8) {
            return {"CKelcommChannel: serverPluginSize size is smaller than requested size", ""};
        }
        const auto block = image_.Block(*place, 8);
        if (!block) {
            return {"CKelcommChannel: Get TSERVER_BROADCAST failed", ""};
        }
        return {kGotPlugIn, std::to_string(static_cast<std::int32_t>(WordAt(*block, 4)))};
    }

    const CImage image_;
    const std::optional<Entry>& known_;
    std::uint32_t table_ = 0;
};

void Add(Finding& all, const Finding& one) {
    all.classes.insert(all.classes.end(), one.classes.begin(), one.classes.end());
    if (all.problem.empty()) {
        all.problem = one.problem;
    }
}

/// A system whose ports are never there, so that every ping fails at once.
struct AreaSystem {
    Test::CScriptedNative native;
    std::unique_ptr<COvAgentChannel> channel;

    explicit AreaSystem(const Input& image) {
        native.Fail("NtAlpcConnectPort");
        native.Fail("NtConnectPort");
        native.area.bytes = image;
        channel = std::make_unique<COvAgentChannel>(0, 0, native.GetFunctions(),
                                                    boost::make_shared<Test::CManualClock>());
        std::string errors;
        channel->Ping(errors);
    }

    Finding ReadAll(const Input& image, bool isOpen, const std::optional<Entry>& known) {
        const CImage expected(image);
        Finding finding;
        for (std::int32_t index = 0; index < kPlugIn; ++index) {
            const Result got = ResultOf([&]() -> Result {
                return Got(static_cast<std::uint32_t>(channel->GetBroadcast(index)));
            });
            const auto value = isOpen ? expected.Number(kValuePlaces[index]) : std::nullopt;
            Add(finding, Compare(got, value ? Got(*value)
                                            : Result{"CKelcommChannel: Get broadcast failed", ""}));
        }
        const Result plugIn =
            isOpen ? CPlugInReader(image, known).Read()
                   : Result{"CKelcommChannel: Get modules count broadcast failed", ""};
        const Result got = ResultOf([&]() -> Result {
            const std::int32_t value = channel->GetBroadcast(kPlugIn);
            // -1 may be the value itself, too.
            return {value == -1 && plugIn.outcome == kNoPlugIn ? kNoPlugIn : kGotPlugIn,
                    std::to_string(value)};
        });
        Add(finding, Compare(got, plugIn));
        return finding;
    }

    void End(Finding& finding) {
        channel.reset();
        if (native.CountLive() != 0) {
            finding.problem = "something is still open";
        }
        for (const std::string& misuse : native.Misuses()) {
            finding.problem = misuse;
        }
    }
};

Finding LookAtArea(const Input& image) {
    if (image.empty()) {
        return {};  // no system maps nothing
    }
    AreaSystem system(image);
    Finding finding = system.ReadAll(image, CImage(image).CanBeOpened(), std::nullopt);
    system.End(finding);
    return finding;
}

/// A block of some length anywhere, by the older port's client.
Finding LookAtBlocks(const Input& image) {
    if (image.empty()) {
        return {};
    }
    Test::CScriptedNative native;
    native.area.bytes = image;
    const auto client = Connectors::Common::Kelcomm::CreateKelcommClientNt(native.GetFunctions());
    Finding finding;
    for (const std::uint32_t length : {0u, 1u, 8u, 120u, 0x100u}) {
        for (const std::uint32_t place : {0u, 1u, 112u, 119u, 120u, 0x7FFFFFFFu, 0x80000000u}) {
            Input bytes(length);
            const std::uint32_t code =
                Measured([&] { return client->ReadBroadcast(place, bytes.data(), length); });
            const auto expected =
                CImage(image).CanBeOpened() ? CImage(image).Block(place, length) : std::nullopt;
            Add(finding, Compare({code == 0   ? "block read"
                                  : code == 1 ? "failure"
                                              : "result " + std::to_string(code),
                                  code == 0 ? std::string(bytes.begin(), bytes.end()) : ""},
                                 expected ? Result{"block read",
                                                   std::string(expected->begin(), expected->end())}
                                          : Result{"failure", ""}));
        }
    }
    client->Close();
    if (native.CountLive() != 0 || !native.Misuses().empty()) {
        finding.problem = "something is still open, or was misused";
    }
    return finding;
}

Input Area(std::uint32_t data) {
    Input image = Word(32) + Word(0) + FromText("KelComm ") + Word(2) + Word(0) + Word(data) +
                  Word(120) + Input(data - 32, 0xEE);
    image = image + Word(1) + Word(2) + Word(3) + Word(kTable) + Word(5) + Word(2);
    for (std::uint32_t value = 0; value < 5; ++value) {
        image = image + Word(0x100 + value);
    }
    image = image + Word(6) + Word(7);
    for (std::uint32_t value = 5; value < 10; ++value) {
        image = image + Word(0x100 + value);
    }
    image = image + Word(0x1001000) + Word(8) + Word(kUserData) + Word(3) + Word(0);
    image = image + Word(kPlugInId) + Word(8) + Word(kUserData) + Word(4) + Word(0);
    return image + Word(9) + Word(kPlugInValue);
}

/// The product changes its area under a channel that has read it. A mapping does not change its
/// length.
Finding LookAtChangedArea(const Input& sound, const Input& image) {
    if (image.size() != sound.size()) {
        return {};
    }
    AreaSystem system(sound);
    Finding finding = system.ReadAll(sound, true, std::nullopt);
    finding.classes.clear();  // the first look is the same for all
    std::copy(image.begin(), image.end(), system.native.area.bytes.begin());
    // The plug-in's entry has moved or its data are others only when the time stamp says so.
    Add(finding,
        system.ReadAll(image, true, Entry{static_cast<std::uint32_t>(kTable), 1, 4, kPlugInValue}));
    system.End(finding);
    return finding;
}

}  // namespace

std::vector<Kind> AreaKinds() {
    const Input near = Area(32);
    // Its plug-in has another time stamp already.
    Input stamped = near;
    stamped[32 + kTable + 20 + 12] = 5;
    Input moved = stamped;
    moved[32 + kTable + 20] = 1;
    moved[32 + kTable + 1] = 0x40;  // the first entry is the plug-in's now
    return {
        {"broadcast area",
         true,
         {{"data behind the head", near}, {"data farther on", Area(64)}},
         LookAtArea},
        {"broadcast area, in blocks", true, {{"data behind the head", near}}, LookAtBlocks},
        {"broadcast area, read before",
         true,
         {{"as it was", near}, {"another time stamp", stamped}, {"plug-in moved", moved}},
         [near](const Input& image) { return LookAtChangedArea(near, image); }},
    };
}

}  // namespace Kyr::Proofs::Bytes
