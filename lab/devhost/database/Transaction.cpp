#include "lab/devhost/database/Transaction.h"

namespace Kyr::Lab::DevHost {

CTransaction::CTransaction(CSqliteConnection& connection) : connection_(connection) {
    // Takes the right to write at once: one that first reads could be refused it later.
    connection_.Execute("BEGIN IMMEDIATE");
}

CTransaction::~CTransaction() {
    if (!committed_) {
        connection_.Rollback();
    }
}

void CTransaction::Commit() {
    connection_.Execute("COMMIT");
    committed_ = true;
}

}  // namespace Kyr::Lab::DevHost
