#include "probe/decode/Area.h"

#include <algorithm>
#include <string>

#include "base/LittleEndian.h"
#include "kelcomm/client/BroadcastLayout.h"
#include "kelcomm/client/KelcommConnection.h"

namespace Kyr::Probe {

namespace {

namespace Kelcomm = Connectors::Common::Kelcomm;
namespace Broadcast = Kelcomm::Broadcast;

constexpr std::size_t kMostModules = 1000;  // whoever looks needs no more to see what is wrong

class CArea {
  public:
    CArea(std::string_view image, Layout& layout) : image_(image), layout_(layout) {}

    void Decode() {
        Expect(Broadcast::kHeaderSizeField, "size of the head", Broadcast::kHeaderSize);
        DecodeMagic();
        Expect(Broadcast::kVersionField, "version", Kelcomm::kKelcommVersion);
        const auto begin = Word(Broadcast::kDataOffsetField, "place of the data");
        const auto size = Word(Broadcast::kDataSizeField, "size of the data");
        if (!begin || !size) {
            return;
        }
        begin_ = *begin;
        // What the library reads of it, too: no more than the section has.
        end_ = std::min<std::uint64_t>(begin_ + std::uint64_t{*size}, image_.size());
        if (begin_ + std::uint64_t{*size} > image_.size()) {
            layout_.fields.back().wrong =
                "more than the " + std::to_string(image_.size()) + " bytes of the section";
        }
        std::size_t number = 0;
        for (const std::uint32_t place : Broadcast::kValues) {
            Data(place, "value " + std::to_string(number++));
        }
        DecodeModules();
    }

  private:
    std::optional<std::uint32_t> Word(std::uint64_t place, const std::string& name,
                                      std::uint64_t end) {
        if (place + 4 > end) {
            layout_.fields.push_back(
                {static_cast<std::size_t>(place), 4, name, "", "outside of the area"});
            return std::nullopt;
        }
        const auto word = Base::LoadLittleEndian<std::uint32_t>(
            reinterpret_cast<const std::uint8_t*>(image_.data() + place));
        layout_.fields.push_back({static_cast<std::size_t>(place), 4, name, NumberText(word), {}});
        return word;
    }

    std::optional<std::uint32_t> Word(std::uint64_t place, const std::string& name) {
        return Word(place, name, image_.size());
    }

    std::optional<std::uint32_t> Data(std::uint64_t place, const std::string& name) {
        return Word(begin_ + place, name, end_);
    }

    void Expect(std::uint64_t place, const std::string& name, std::uint32_t expected) {
        const auto word = Word(place, name);
        if (word && *word != expected) {
            layout_.fields.back().wrong = "must be " + NumberText(expected);
        }
    }

    void DecodeMagic() {
        const std::string_view expected(Kelcomm::kKelcommMagic, Kelcomm::kKelcommMagicSize);
        const std::string_view magic =
            image_.substr(std::min(Broadcast::kMagicField, image_.size()), expected.size());
        layout_.fields.push_back({Broadcast::kMagicField, expected.size(), "magic",
                                  QuotedText(magic),
                                  magic == expected ? "" : "must be \"KelComm \""});
    }

    void DecodeModules() {
        const auto table = Data(Broadcast::kFirstModuleOffset, "place of the modules");
        const auto count = Data(Broadcast::kModuleCount, "number of modules");
        if (!table || !count) {
            return;
        }
        for (std::uint64_t i = 0; i < std::min<std::uint64_t>(*count, kMostModules); ++i) {
            if (!DecodeModule(*table + i * Broadcast::kEntrySize)) {
                return;  // the others lie further out
            }
        }
    }

    bool DecodeModule(std::uint64_t entry) {
        const auto id = Data(entry + Broadcast::kModuleId, "module");
        if (!id) {
            return false;
        }
        const bool isServer = *id == Broadcast::kServerPlugin;
        if (isServer) {
            layout_.fields.back().value += ", the server plug-in";
        }
        const auto size = Data(entry + Broadcast::kUserDataSize, "size of its block");
        const bool isTooSmall = isServer && size && *size < Broadcast::kServerBlockSize;
        if (isTooSmall) {
            layout_.fields.back().wrong = "too small for value 10";
        }
        const auto place = Data(entry + Broadcast::kUserDataOffset, "place of its block");
        const auto stamp = Data(entry + Broadcast::kUserDataTimestamp, "time stamp of its block");
        if (!size || !place || !stamp) {
            return false;
        }
        if (isServer && !isTooSmall) {
            Data(*place + Broadcast::kServerValue, "value 10");
        }
        return true;
    }

    const std::string_view image_;
    Layout& layout_;
    std::uint64_t begin_ = 0;  // of the data
    std::uint64_t end_ = 0;
};

}  // namespace

void DecodeArea(std::string_view image, Layout& layout) {
    CArea(image, layout).Decode();
}

}  // namespace Kyr::Probe
