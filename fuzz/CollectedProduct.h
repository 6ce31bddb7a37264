// A product that has something to hand out: records of three kinds, in lists that only grow, and
// outcomes, each once. It answers as a product should, or as it was told to, and tells the account
// what it has handed out.
//
// Threads: any.
#pragma once

#include <array>
#include <deque>
#include <optional>

#include <boost/thread/mutex.hpp>

#include "fuzz/Account.h"
#include "fuzz/Reports.h"
#include "tests/support/host/FakeDatabase.h"
#include "tests/support/product/FakeKelcommClient.h"

namespace Kyr::Fuzz {

class CCollectedProduct {
  public:
    using Answer = Test::KelcommScript::Answer;
    using Request = Test::KelcommScript::Request;

    /// REQUIRES: the accounts outlive the product.
    CCollectedProduct(CAccount& account, CReports& reports)
        : account_(account), reports_(reports) {}

    /// More records at the end of their list. Of the actions, every fourth does not block.
    void Append(RecordKind kind, int count);
    /// More tasks have come to that end.
    void Finish(std::uint32_t word, int count);

    /// Something else is wrong with it now; returns what a log names as its status.
    std::uint64_t ChangeStatus();

    /// The next answer, before all others, and the answer from then on; nothing: its own.
    void AnswerOnce(Answer answer);
    void AnswerAlways(std::optional<Answer> answer);
    /// From the next answer on.
    void AnswerByItself();

    Answer Serve(const Request& request);

    /// How many replies to tasks came to who had asked for a status before: finding none in it, the
    /// module connects anew and sends the task again.
    std::uint64_t Overheard() const;
    /// In how many batches at most what lies ahead of the stored offsets can be handed out.
    int BatchesLeft(const Test::CFakeKeyValues& offsets) const;
    /// Everything was handed out, and stored at least once.
    void ExpectNothingLeft(const Test::CFakeKeyValues& offsets) const;

  private:
    /// What has not been stored, as the offset says, but for actions that wait for one that blocks.
    std::vector<std::string> Left(RecordKind kind, const Test::CFakeKeyValues& offsets) const;
    Answer HandOut(RecordKind kind, std::uint64_t offset);
    Answer HandOutOutcome();

    CAccount& account_;
    CReports& reports_;
    mutable boost::mutex mutex_;  // guards everything below
    std::array<std::vector<std::string>, 3> lists_;
    std::deque<Outcome> outcomes_;
    std::uint64_t finished_ = 0;
    std::uint64_t status_ = 0x0710000000001000;  // the host knows no other that begins so
    std::deque<Answer> once_;
    std::optional<Answer> always_;
    bool statusListens_ = false;
    std::uint64_t overheard_ = 0;
};

}  // namespace Kyr::Fuzz
