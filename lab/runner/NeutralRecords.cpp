#include "lab/runner/NeutralRecords.h"

#include <cstddef>

#include <boost/json.hpp>

namespace Kyr::Lab::Runner {

namespace json = boost::json;

namespace {

constexpr char kRecordBegin[] = R"({"@timestamp":)";
constexpr char kLength[] = "<length>";

// The reply's length is the third word of its header.
constexpr std::size_t kLengthAt = 8;
constexpr std::size_t kLengthSize = 4;
constexpr std::size_t kHeaderSize = 12;

/// Whether the byte at `at` of a number in protobuf's form has another one behind it.
bool Continues(const std::string& bytes, std::size_t at) {
    return (static_cast<unsigned char>(bytes[at]) & 0x80U) != 0;
}

/// Where the number begins that ends before `end`.
std::size_t NumberBefore(const std::string& bytes, std::size_t end) {
    std::size_t begin = end - 1;
    while (begin > kHeaderSize && Continues(bytes, begin - 1)) {
        --begin;
    }
    return begin;
}

}  // namespace

std::string NeutralRecords(const std::string& bytes) {
    std::string neutral;
    std::size_t done = 0;
    std::size_t at = 0;
    for (; (at = bytes.find(kRecordBegin, at)) != std::string::npos; ++at) {
        json::stream_parser parser;
        json::error_code error;
        const std::size_t read = parser.write_some(bytes.data() + at, bytes.size() - at, error);
        if (error || !parser.done() || at <= kHeaderSize) {
            continue;
        }
        json::object record = parser.release().as_object();
        if (!record.contains("process")) {
            continue;
        }
        record["process"] = "*";
        neutral.append(bytes, done, NumberBefore(bytes, at) - done);
        neutral.append(kLength).append(json::serialize(record));
        // The parser takes the mark of the field behind a record for a blank.
        done = bytes.rfind('}', at + read - 1) + 1;
        at = done - 1;
    }
    if (done == 0) {
        return bytes;
    }
    neutral.append(bytes, done);
    return neutral.replace(kLengthAt, kLengthSize, kLength);
}

}  // namespace Kyr::Lab::Runner
