#include <gtest/gtest.h>
#include <stdexcept>

#include "lab/devhost/database/Transaction.h"

namespace Kyr::Test {
namespace {

using namespace Lab::DevHost;

class TransactionTest : public ::testing::Test {
  protected:
    TransactionTest() { connection_.Execute("CREATE TABLE things (name TEXT)"); }

    void Write() { connection_.Execute("INSERT INTO things VALUES ('one')"); }

    std::string Count() {
        CSqliteStatement select(connection_, "SELECT COUNT(*) FROM things");
        select.Step();
        return select.Column(0);
    }

    CSqliteConnection connection_{":memory:"};
};

TEST_F(TransactionTest, CommittedWritesStay) {
    {
        CTransaction transaction(connection_);
        Write();
        transaction.Commit();
    }
    EXPECT_EQ("1", Count());
}

TEST_F(TransactionTest, WritesWithoutCommitAreTakenBack) {
    {
        const CTransaction transaction(connection_);
        Write();
    }
    EXPECT_EQ("0", Count());
}

TEST_F(TransactionTest, AnotherOneCanFollow) {
    { const CTransaction transaction(connection_); }
    CTransaction transaction(connection_);
    Write();
    transaction.Commit();
    EXPECT_EQ("1", Count());
}

TEST_F(TransactionTest, SecondOneAtATimeIsRefused) {
    const CTransaction transaction(connection_);
    EXPECT_THROW(CTransaction second(connection_), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Test
