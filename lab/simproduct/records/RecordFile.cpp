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

}  // namespace

std::uintmax_t ReadRecords(const std::string& path, std::uintmax_t position,
                           const TakeRecord& take) {
    std::ifstream file(path, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(position));
    RecordKind kind{};
    ProductRecord record;
    while (Read(file, kind, record)) {
        position = static_cast<std::uintmax_t>(file.tellg());
        take(kind, std::move(record));
        record = ProductRecord();
    }
    return position;
}

CRecordFile::CRecordFile(const std::string& path, const TakeRecord& take) : path_(path) {
    if (std::filesystem::exists(path)) {
        std::filesystem::resize_file(path, ReadRecords(path, 0, take));
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
