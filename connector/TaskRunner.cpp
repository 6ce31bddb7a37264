#include "connector/TaskRunner.h"

#include <exception>
#include <utility>

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "connector/DeliveryContext.h"
#include "connector/LocalizedException.h"
#include "connector/TaskExceptions.h"
#include "connector/reports/TaskEvent.h"
#include "host/Catalogue.h"

namespace Kyr::Connectors::Common {

namespace Outcome = Kyr::Common::Catalogue::Task;
using Kyr::Common::Module::CLocalizedException;
using Kyr::Common::Module::CSubscriber;

namespace {

// A message is given up with the second failure that counts.
constexpr int kCountedAttempts = 2;

std::uint64_t TextOf(const CLocalizedException& error) {
    return (std::uint64_t{error.GetCodeHigh()} << 32) | error.GetCodeLow();
}

constexpr char kRetriesExhausted[] =
    "Message task was canceled because maximum retry count was reached";
constexpr char kProductNotAvailable[] =
    "Message task was canceled because product is not available";

}  // namespace

IProductConnection::~IProductConnection() = default;

CTaskRunner::CTaskRunner(std::string name, IProductConnection& connection, Services services,
                         std::uint64_t productId, boost::shared_ptr<Base::IClock> clock)
    : connection_(connection),
      services_(services),
      productId_(productId),
      clock_(std::move(clock)),
      queue_(boost::make_shared<CSubscriber>(std::move(name), clock_)) {}

CTaskRunner::~CTaskRunner() {
    Interrupt();
    Join();
}

// On the host's threads.

void CTaskRunner::AddTask(const TaskPointer& task) {
    tasks_.emplace(task->GetMessageType(), task);
}

void CTaskRunner::Start() {
    if (thread_) {
        return;
    }
    {
        const Base::CLock lock(tasksMutex_);
        connected_ = false;
    }
    thread_ = std::make_unique<boost::thread>([this] { ThreadBody(); });
}

void CTaskRunner::CancelTasks() {
    const Base::CLock lock(tasksMutex_);
    for (const auto& entry : tasks_) {
        entry.second->Cancel();
    }
}

bool CTaskRunner::InterruptUnlessConnected() {
    // Both under the lock: a thread that is about to be connected either finds the interruption
    // before it says so, or has said so.
    const Base::CLock lock(tasksMutex_);
    if (!connected_) {
        Interrupt();
    }
    return connected_;
}

bool CTaskRunner::Wake() {
    // Without a thread, after an earlier stop, there is nobody to wait for.
    return queue_->Wake() || !thread_;
}

void CTaskRunner::Interrupt() {
    if (thread_) {
        thread_->interrupt();
    }
}

void CTaskRunner::Join() {
    if (thread_) {
        // A host thread that is being interrupted must not leave with the thread alive.
        const boost::this_thread::disable_interruption joinIsNoWayOut;
        thread_->join();
        thread_.reset();
    }
}

// On the task thread.

void CTaskRunner::ThreadBody() {
    try {
        RunUntilStopped();
    } catch (const boost::thread_interrupted&) {
        // Interrupted once more while it was ending.
    } catch (const std::exception& error) {
        EndAfterFailure(error.what());
    } catch (...) {
        EndAfterFailure("Task processing ended with an unknown exception");
    }
}

void CTaskRunner::EndAfterFailure(const char* text) {
    try {
        {
            // Nobody empties the queue any more: without this, Stop would wait for it.
            const Base::CLock lock(tasksMutex_);
            connected_ = false;
        }
        GetLog(4) << text;
        GuardedDisconnect();
    } catch (...) {
        // What fails while a failure is reported must not leave the thread, either.
    }
}

void CTaskRunner::RunUntilStopped() {
    GetLog(2) << "Connecting to product";
    try {
        ConnectFirst();
    } catch (const boost::thread_interrupted&) {
        GetLog(4) << "Product is not available, canceling tasks";
        CancelQueuedMessages();
        GuardedDisconnect();
        return;
    }
    try {
        ProcessMessages();
    } catch (const boost::thread_interrupted&) {
        GetLog(4) << "Task processing was interrupted";
    }
    GetLog(2) << "Disconnecting from product";
    GuardedDisconnect();
}

void CTaskRunner::ConnectFirst() {
    while (!Guarded(&IProductConnection::Connect)) {
        GuardedDisconnect();
        clock_->SleepFor(connection_.ReconnectDelay());
    }
    {
        const Base::CLock lock(tasksMutex_);
        boost::this_thread::interruption_point();
        connected_ = true;
    }
    GetLog(2) << "Connected to product, processing tasks";
}

void CTaskRunner::ProcessMessages() {
    for (;;) {
        CSubscriber::Message message;
        CSubscriber::Context context;
        if (!queue_->WaitForMessage(message, context)) {
            return;
        }
        SetDeliveryContext(context);
        try {
            ProcessMessage(message);
        } catch (const std::exception& error) {
            // The message itself is broken.
            GetLog(4) << error.what();
        }
    }
}

void CTaskRunner::ProcessMessage(const MessagePointer& message) {
    const Base::CLock lock(tasksMutex_);
    const auto range = tasks_.equal_range(message->GetMessageType());
    for (auto entry = range.first; entry != range.second; ++entry) {
        if (!RunWithRetries(*entry->second, message)) {
            CancelMessage(message, kRetriesExhausted);
        }
    }
}

// False: the task has used up its attempts.
bool CTaskRunner::RunWithRetries(CMessageTask& task, const MessagePointer& message) {
    int attempts = 0;
    while (attempts < kCountedAttempts) {
        bool notCounted = false;
        if (ProcessTask(task, message, notCounted)) {
            return true;
        }
        ReconnectUntilConnected();
        if (!notCounted) {
            ++attempts;
        }
    }
    return false;
}

// True: the task is done with the message. False: reconnect and try again; the failure is no
// attempt of the task's when it is not counted.
bool CTaskRunner::ProcessTask(CMessageTask& task, const MessagePointer& message, bool& notCounted) {
    notCounted = false;
    try {
        if (message->GetMessageType() == task.GetMessageType()) {
            task.Execute(message);
        }
        return true;
    } catch (const CLocalizedException& error) {
        PublishTaskEvent(message,
                         {Outcome::kFailed, TextOf(error), Outcome::kErrorSeverity, error.what()});
        GetLog(4) << error.what();
        return true;
    } catch (const CRetryException& error) {
        PublishTaskEvent(message, {Outcome::kNotFailed, Outcome::kFailedText,
                                   Outcome::kWarningSeverity, error.what()});
        GetLog(4) << error.what();
        notCounted = error.IsRestartNeeded();
        return false;
    } catch (const CRestartNeededException& error) {
        GetLog(2) << error.what();
        notCounted = true;
        return false;
    } catch (const std::exception& error) {
        PublishTaskEvent(message, {Outcome::kFailed, Outcome::kFailedText, Outcome::kErrorSeverity,
                                   error.what()});
        GetLog(4) << error.what();
        return true;
    }
}

void CTaskRunner::ReconnectUntilConnected() {
    connected_ = false;
    {
        // Free meanwhile, so that Stop finds out that nobody is connected.
        const Base::CUnlock whileWaiting(tasksMutex_);
        do {
            clock_->SleepFor(connection_.ReconnectDelay());
            GetLog(2) << "Reconnecting to product";
        } while (!Guarded(&IProductConnection::Reconnect));
    }
    boost::this_thread::interruption_point();
    connected_ = true;
}

void CTaskRunner::CancelQueuedMessages() {
    CSubscriber::Message message;
    CSubscriber::Context context;
    while (queue_->TryTakeMessage(message, context)) {
        CancelMessage(message, kProductNotAvailable);
    }
}

void CTaskRunner::CancelMessage(const MessagePointer& message, const std::string& reason) {
    PublishTaskEvent(message,
                     {Outcome::kFailed, Outcome::kCancelledText, Outcome::kErrorSeverity, reason});
    try {
        GetLog(4) << reason << ", message was: " << message->GetName();
    } catch (const std::exception& error) {
        // A message that cannot tell its name is cancelled all the same.
        GetLog(4) << error.what();
    }
}

// The event is a courtesy to the server: a message whose identifiers are no UUIDs, or a bus that
// fails, costs the event and a line, not the thread.
void CTaskRunner::PublishTaskEvent(const MessagePointer& message, const TaskOutcome& outcome) {
    try {
        if (const auto task = ReportableTask(message)) {
            services_.publisher.Publish(MakeTaskEvent(
                *task, outcome, {services_.instance.GetInstanceUUID(), clock_, productId_}));
        }
    } catch (const std::exception& error) {
        GetLog(4) << error.what();
    }
}

bool CTaskRunner::Guarded(bool (IProductConnection::*operation)()) {
    try {
        return (connection_.*operation)();
    } catch (const std::exception& error) {
        GetLog(4) << error.what();
        return false;
    }
}

void CTaskRunner::GuardedDisconnect() {
    try {
        connection_.Disconnect();
    } catch (const std::exception& error) {
        GetLog(4) << error.what();
    }
}

}  // namespace Kyr::Connectors::Common
