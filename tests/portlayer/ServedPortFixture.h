// What the tests of both kinds of ports have alike: a handler that serves a port, and clients that
// ask it.
#pragma once

#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ntapi/Status.h"
#include "tests/portlayer/PortFixture.h"

namespace Kyr::Test {

/// `Call` is a message as the handler gets it.
template <typename Call>
class ServedPortFixture : public PortFixture {
  protected:
    using Handler = std::function<void(Call&)>;

    void TearDown() override {
        for (const Handle port : connected_) {
            CloseHandle(port);
        }
        StopServer();
        PortFixture::TearDown();
    }
    virtual void StopServer() = 0;
    /// Closes the client's port at the end of the test, unless the test does.
    Handle CloseAtEnd(Handle port) {
        const std::lock_guard<std::mutex> lock(connectedMutex_);
        connected_.push_back(port);
        return port;
    }

    /// Hands requests to the handler, and ignores everything else.
    static Handler OnRequests(Handler handler) {
        return [handler](Call& call) {
            if (Kind(call.message.data()) == NtApi::kLpcRequest) {
                handler(call);
            }
        };
    }
    /// Answers with what was brought.
    static void Echo(Call& call) { EXPECT_EQ(call.Reply(call.Data()), NtApi::kStatusSuccess); }

    /// Takes one request and never answers.
    Handler Silence() {
        return OnRequests([this](Call&) { asked_.set_value(); });
    }

    /// `answer` is the data of the reply, when there is one.
    virtual NtStatus TryAsk(Handle port, const Bytes& data, Bytes& answer) = 0;
    /// Fails the test on an error status.
    Bytes Ask(Handle port, const Bytes& data) {
        Bytes answer;
        EXPECT_EQ(TryAsk(port, data, answer), NtApi::kStatusSuccess);
        return answer;
    }
    /// Asks a server that is served by Silence; returns when it has the request.
    std::future<NtStatus> AskInVain(Handle port) {
        auto asking = std::async(std::launch::async, [this, port] {
            Bytes answer;
            return TryAsk(port, {}, answer);
        });
        asked_.get_future().get();
        return asking;
    }
    /// Each thread asks so many times, and is to get what it brought.
    void AskOnThreads(Handle port, int count, int times) {
        std::vector<std::thread> threads;
        for (int thread = 0; thread < count; ++thread) {
            threads.emplace_back([this, port, times, thread] {
                for (int i = 0; i < times; ++i) {
                    const Bytes data = ToBytes(std::to_string(thread) + ":" + std::to_string(i));
                    ASSERT_EQ(Ask(port, data), data);
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

  private:
    std::promise<void> asked_;
    std::mutex connectedMutex_;
    std::vector<Handle> connected_;  // guarded by connectedMutex_
};

}  // namespace Kyr::Test
