// The policy in a policy message: protobuf, in it a zlib stream, in that protobuf again.
//
// What a blob holds is found out once more with zlib's reading by pieces, where the decoder lets
// zlib fill a block of its own measure.
#include <algorithm>
#include <zlib.h>

#include "connector/tasks/PolicyBlob.h"
#include "proofs/bytes/Kind.h"
#include "proofs/bytes/Wire.h"

namespace Kyr::Proofs::Bytes {

namespace {

namespace Tasks = Connectors::Common::Tasks;

constexpr std::uint64_t kLimit = std::uint64_t{64} << 20;
constexpr std::uint64_t kLargestRatio = 1032;  // the format's, of what comes out to what goes in

/// The blob as far as it is sound.
struct Blob {
    std::uint64_t stated = 0;
    Input stream;
    bool sound = true;
};

Blob ReadBlob(const Input& bytes) {
    const Fields read = ReadFields(bytes);
    Blob blob{0, {}, read.sound};
    for (const Fields::Field& field : read.fields) {
        if (field.number == 1 && field.type == 0) {
            blob.stated = field.value;
        } else if (field.number == 2 && field.type == 2) {
            blob.stream = field.text;
        }
    }
    return blob;
}

/// What a whole stream inflates to, if that is no more than the limit.
std::optional<Input> Inflate(const Input& stream) {
    z_stream inflating{};
    if (::inflateInit(&inflating) != Z_OK) {
        return std::nullopt;
    }
    Input bytes;
    Input piece(0x10000);
    int result = Z_OK;
    // zlib does not write there; its declaration is older than const.
    inflating.next_in = const_cast<Bytef*>(stream.data());
    inflating.avail_in = static_cast<uInt>(stream.size());
    while (result == Z_OK && bytes.size() <= kLimit) {
        inflating.next_out = piece.data();
        inflating.avail_out = static_cast<uInt>(piece.size());
        result = ::inflate(&inflating, Z_NO_FLUSH);
        bytes.insert(bytes.end(), piece.begin(),
                     piece.end() - static_cast<std::ptrdiff_t>(inflating.avail_out));
    }
    ::inflateEnd(&inflating);
    return result == Z_STREAM_END && bytes.size() <= kLimit ? std::optional(bytes) : std::nullopt;
}

/// The last one holds.
std::string LastTextOf(const Fields& policy) {
    std::string text;
    for (const Fields::Field& field : policy.fields) {
        if (field.number == 1 && field.type == 2) {
            text.assign(field.text.begin(), field.text.end());
        }
    }
    return text;
}

/// The text of a sound policy.
std::optional<std::string> TextOf(const Input& policy) {
    const Fields read = ReadFields(policy);
    return read.sound ? std::optional(LastTextOf(read)) : std::nullopt;
}

/// The text of a blob with which nothing is wrong.
std::optional<std::string> SoundText(const Input& bytes) {
    const Blob blob = ReadBlob(bytes);
    if (!blob.sound || blob.stated > kLimit || blob.stream.empty()) {
        return std::nullopt;
    }
    const auto policy = Inflate(blob.stream);
    return policy && policy->size() == blob.stated ? TextOf(*policy) : std::nullopt;
}

/// What zlib makes of a stream that may be broken, as far as it goes, and no more than `room`.
Input InflateAsFarAsItGoes(const Input& stream, std::size_t room) {
    Input bytes(room);
    z_stream inflating{};
    if (room == 0 || ::inflateInit(&inflating) != Z_OK) {
        return bytes;
    }
    inflating.next_in = const_cast<Bytef*>(stream.data());
    inflating.avail_in = static_cast<uInt>(stream.size());
    inflating.next_out = bytes.data();
    inflating.avail_out = static_cast<uInt>(room);
    ::inflate(&inflating, Z_NO_FLUSH);
    ::inflateEnd(&inflating);
    return bytes;  // zeros behind that
}

/// The text of a blob with which something is wrong, as far as it can be read: what lacks at the
/// end of the stream, or of what it holds, are zeros. Nothing where a part of a text may have been
/// read, which is protobuf's to say.
std::optional<std::string> DamagedText(const Input& bytes) {
    const Blob blob = ReadBlob(bytes);
    if (!blob.sound) {
        return std::nullopt;
    }
    Input stream = blob.stream;
    stream.resize(std::max(stream.size(), bytes.size()));
    const std::uint64_t room =
        std::min({blob.stated, std::uint64_t{stream.size()} * kLargestRatio, kLimit});
    const Fields read = ReadFields(InflateAsFarAsItGoes(stream, static_cast<std::size_t>(room)));
    return read.endsEarly ? std::nullopt : std::optional(LastTextOf(read));
}

Finding LookAtPolicy(const Input& bytes) {
    const std::string blob(bytes.begin(), bytes.end());
    const Tasks::PolicyText policy = Measured([&blob] { return Tasks::ReadPolicyBlob(blob); });
    if (!policy.text) {
        // Only a stream that is long enough for it can be too large.
        return {
            {"too large"},
            policy.damage.empty() && bytes.size() * kLargestRatio >= kLimit ? "" : "not too large"};
    }
    Finding finding{{policy.damage.empty() ? "read" : ClassOf("damaged: " + policy.damage)}, ""};
    const auto expected = SoundText(bytes);
    if (policy.damage.empty() && policy.text != expected) {
        finding.problem = "a damaged policy was read without a word";
    } else if (!policy.damage.empty() && expected) {
        finding.problem = "a sound policy is said to be damaged: " + policy.damage;
    } else if (policy.text->size() > kLimit) {
        finding.problem = "a text beyond the limit";
    } else if (const auto damaged = DamagedText(bytes);
               !policy.damage.empty() && damaged && *policy.text != *damaged) {
        finding.problem = "a damaged policy was read otherwise than as far as it goes";
    }
    return finding;
}

Input PolicyBlob(std::uint64_t stated, const Input& stream) {
    return NumberField(1, stated) + TextField(2, stream);
}

/// A policy of so many zeros. What zlib makes of them differs between its versions, in length only.
Input LargeStream(std::size_t length) {
    const Input head = TextField(1, Input(length));
    uLongf room = ::compressBound(static_cast<uLong>(head.size()));
    Input stream(room);
    ::compress2(stream.data(), &room, head.data(), static_cast<uLong>(head.size()),
                Z_BEST_COMPRESSION);
    stream.resize(room);
    return stream;
}

}  // namespace

std::vector<Kind> PolicyKinds() {
    // Field 1, 16 bytes "policy text 1234".
    const Input small = {0x78, 0xDA, 0xE3, 0x12, 0x28, 0xC8, 0xCF, 0xC9, 0x4C,
                         0xAE, 0x54, 0x28, 0x49, 0xAD, 0x28, 0x51, 0x30, 0x34,
                         0x32, 0x36, 0x01, 0x00, 0x35, 0x7B, 0x05, 0x7A};
    // Field 1, 440 bytes: 40 times "rule=block;".
    const Input repeated = {0x78, 0xDA, 0xE3, 0xDA, 0xC1, 0x5C, 0x54, 0x9A, 0x93,
                            0x6A, 0x9B, 0x94, 0x93, 0x9F, 0x9C, 0x6D, 0x3D, 0xCA,
                            0x1C, 0x42, 0x4C, 0x00, 0x4A, 0x35, 0xA9, 0xFE};
    // Not compressed: one stored block with field 1, "abc"; then Adler's sum.
    const Input stored = {0x78, 0x01, 0x01, 5,   0,    0xFA, 0xFF, 0x0A,
                          3,    'a',  'b',  'c', 0x02, 0x8D, 0x01, 0x34};
    const std::size_t large = kLimit - 5;  // tag and length have five bytes
    return {{"policy",
             false,
             {{"small", PolicyBlob(18, small)},
              {"repeated", PolicyBlob(443, repeated)},
              {"stored", PolicyBlob(5, stored)},
              {"none", {}}},
             LookAtPolicy},
            {"large policy",
             false,
             {{"as large as it may be", PolicyBlob(kLimit, LargeStream(large)), 2, true}},
             LookAtPolicy}};
}

}  // namespace Kyr::Proofs::Bytes
