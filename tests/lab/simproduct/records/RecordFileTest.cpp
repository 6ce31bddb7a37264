#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/simproduct/records/RecordLists.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Test::CTemporaryFolder;
using ::testing::ElementsAre;

class RecordFileTest : public ::testing::Test {
  protected:
    std::vector<std::string> Reopen() {
        std::vector<std::string> texts;
        file_.reset();
        file_ =
            std::make_unique<CRecordFile>(path_, [&](RecordKind kind, const ProductRecord& record) {
                texts.push_back(NameOf(kind) + (" " + record.text));
            });
        return texts;
    }

    std::string Content() const {
        std::ifstream file(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const CTemporaryFolder folder_;
    const std::string path_ = folder_.File("records");
    std::unique_ptr<CRecordFile> file_;
};

TEST_F(RecordFileTest, RecordIsWrittenBehindItsKindTypeAndLength) {
    EXPECT_THAT(Reopen(), ::testing::IsEmpty());
    file_->Append(RecordKind::kAction, {"two\nlines", 3});
    EXPECT_EQ("action 3 9\ntwo\nlines\n", Content());
}

TEST_F(RecordFileTest, RecordsAreReadBackInOrder) {
    Reopen();
    file_->Append(RecordKind::kTelemetry, {" blanks ", 0});
    file_->Append(RecordKind::kAction, {"", -1});
    file_->Append(RecordKind::kIndicator, {std::string("zero\0", 5), 0});

    EXPECT_THAT(Reopen(), ElementsAre("telemetry  blanks ", "action ",
                                      "indicator " + std::string("zero\0", 5)));
}

TEST_F(RecordFileTest, ReaderGoesOnBehindWhatItHasRead) {
    std::vector<std::string> texts;
    const auto take = [&](RecordKind, const ProductRecord& record) {
        texts.push_back(record.text);
    };
    EXPECT_EQ(0u, ReadRecords(path_, 0, take));
    Reopen();
    file_->Append(RecordKind::kAction, {"two", 3});
    EXPECT_EQ(15u, ReadRecords(path_, 0, take));
    file_->Append(RecordKind::kIndicator, {"one", 0});
    EXPECT_EQ(33u, ReadRecords(path_, 15, take));
    EXPECT_THAT(texts, ElementsAre("two", "one"));
}

TEST_F(RecordFileTest, HalfARecordAtTheEndIsCutOff) {
    for (const char* half :
         {"act", "action 3", "action 3 1", "action 3 4\ntw", "action 3 3\ntwo"}) {
        std::ofstream(path_, std::ios::binary) << "action 3 3\none\n" << half;

        EXPECT_THAT(Reopen(), ElementsAre("action one")) << half;

        file_->Append(RecordKind::kAction, {"new", 3});
        EXPECT_EQ("action 3 3\none\naction 3 3\nnew\n", Content()) << half;
    }
}

TEST_F(RecordFileTest, FileOfSomethingElseAndOneThatCannotBeMadeAreRefused) {
    std::ofstream(path_, std::ios::binary) << "tasks 3 3\none\n";
    EXPECT_THROW(Reopen(), std::runtime_error);
    EXPECT_THROW(CRecordFile(folder_.File("absent/records"), {}), std::runtime_error);
}

TEST_F(RecordFileTest, ListsWithAFileOutliveTheirObject) {
    {
        CRecordLists lists(path_);
        lists.Append(RecordKind::kIndicator, [](std::uint64_t) { return ProductRecord{"one", 0}; });
    }
    CRecordLists again(path_);
    EXPECT_EQ(2u, again.Append(RecordKind::kIndicator, [](std::uint64_t) {
        return ProductRecord{"two", 0};
    }));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
