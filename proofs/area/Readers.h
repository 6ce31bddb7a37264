// The connector's side: its clients and its channel on the real native table, reading the area all
// the time, each read with its time and judged by what the writer did meanwhile.
//
// Threads: those of the readers are the object's own; everything else belongs to one thread.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include "proofs/area/Control.h"

namespace Kyr::Proofs::Area {

class CReaders {
  public:
    /// They begin at once.
    explicit CReaders(const Control& control);
    ~CReaders();
    CReaders(const CReaders&) = delete;
    CReaders& operator=(const CReaders&) = delete;

    /// When it returns nobody reads any more.
    void Stop();

    // For the account, after Stop.
    std::uint64_t Reads() const { return reads_; }
    /// Those that succeeded while the writer kept to the mutex.
    std::uint64_t JudgedBlocks() const { return judgedBlocks_; }
    std::uint64_t JudgedWords() const { return judgedWords_; }
    /// How often the mutex was had from a dead owner, and how often not in time.
    static std::uint64_t Abandoned();
    static std::uint64_t TimedOut();
    /// The shortest wait among those.
    static std::chrono::milliseconds LeastPatience();
    /// Reads that had the mutex from a dead owner, and succeeded.
    std::uint64_t ReadsBehindTheDead() const { return readsBehindTheDead_; }
    std::chrono::milliseconds Longest() const { return std::chrono::milliseconds(longest_.load()); }
    std::vector<std::string> Problems() const;

  private:
    template <typename Read>
    void Try(const char* what, std::chrono::milliseconds limit, Read read);
    void JudgeBlock(const char* what, const std::vector<std::uint8_t>& block);
    void JudgeWord(const char* what, std::uint32_t word);
    void Tell(const std::string& problem);

    void ReadByChannel();
    void ReadBlocks();
    void ReadWords();

    struct Client;  // one for two threads: blocks and single words

    const Control& control_;
    const boost::shared_ptr<Client> client_;
    std::atomic<bool> stop_{false};
    std::atomic<std::uint64_t> reads_{0};
    std::atomic<std::uint64_t> readsBehindTheDead_{0};
    std::atomic<std::uint64_t> judgedBlocks_{0};
    std::atomic<std::uint64_t> judgedWords_{0};
    std::atomic<std::int64_t> longest_{0};
    mutable boost::mutex mutex_;  // guards the problems
    std::vector<std::string> problems_;
    boost::thread_group threads_;
};

}  // namespace Kyr::Proofs::Area
