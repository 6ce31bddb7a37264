#include "lab/simproduct/records/RecordFile.h"

#include <filesystem>
#include <stdexcept>

namespace Kyr::Lab::SimProduct {

namespace {

/// The next record; false at the end and where a record is not whole.
bool Read(std::istream& stream, RecordKind& kind, ProductRecord& record) {
    std::string name;
    std::size_t length = 0;
    if (!(stream >> name >> record.actionType >> length) || stream.get() != '\n') {
        return false;
    }
    const std::optional<RecordKind> found = FindRecordKind(name);
    if (!found) {
        throw std::runtime_error("no kind of records: " + name);
    }
    kind = *found;
    record.text.resize(length);
    return stream.read(record.text.data(), static_cast<std::streamsize>(length)) &&
           stream.get() == '\n';
}

/// Gives every whole record away and returns how many bytes they take.
std::uintmax_t ReadAll(const std::string& path, const CRecordFile::TakeRecord& take) {
    std::ifstream file(path, std::ios::binary);
    std::uintmax_t whole = 0;
    RecordKind kind{};
    ProductRecord record;
    while (Read(file, kind, record)) {
        whole = static_cast<std::uintmax_t>(file.tellg());
        take(kind, std::move(record));
        record = ProductRecord();
    }
    return whole;
}

}  // namespace

CRecordFile::CRecordFile(const std::string& path, const TakeRecord& take) : path_(path) {
    if (std::filesystem::exists(path)) {
        std::filesystem::resize_file(path, ReadAll(path, take));
    }
    file_.open(path, std::ios::binary | std::ios::app);
    if (!file_) {
        throw std::runtime_error("cannot open the records " + path);
    }
}

void CRecordFile::Append(RecordKind kind, const ProductRecord& record) {
    file_ << NameOf(kind) << ' ' << record.actionType << ' ' << record.text.size() << '\n'
          << record.text << '\n'
          << std::flush;
    if (!file_) {
        throw std::runtime_error("cannot write the records " + path_);
    }
}

}  // namespace Kyr::Lab::SimProduct
