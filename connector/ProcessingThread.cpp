// The processing thread of CConnectorModule: connects, runs the tasks, retries and cancels.
#include <chrono>
#include <exception>

#include "connector/ConnectorModule.h"
#include "connector/DeliveryContext.h"
#include "connector/LocalizedException.h"
#include "connector/TaskEvent.h"
#include "connector/TaskExceptions.h"

namespace Kyr::Connectors::Common {

using Kyr::Common::Module::CLocalizedException;
using Kyr::Common::Module::CSubscriber;

namespace {

// A message is given up with the second failure that counts.
constexpr int kCountedAttempts = 2;

// The host's terms for the outcome of a task: its status, the severity, and the 64-bit code of a
// message text in the server's catalogue.
constexpr std::int32_t kStatusFailed = 4;
constexpr std::int32_t kStatusRetried = 1;
constexpr std::int64_t kSeverityError = 40;
constexpr std::int64_t kSeverityWarning = 20;

constexpr std::uint64_t Code(std::uint32_t low, std::uint32_t high) {
    return (static_cast<std::uint64_t>(high) << 32) | low;
}

constexpr std::uint64_t kCodeCancelled = Code(155, 1);
constexpr std::uint64_t kCodeFailed = Code(12, 1);

constexpr char kRetriesExhausted[] =
    "Message task was canceled because maximum retry count was reached";
constexpr char kProductNotAvailable[] =
    "Message task was canceled because product is not available";

}  // namespace

void CConnectorModule::ProcessingThread() {
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

void CConnectorModule::EndAfterFailure(const char* text) {
    try {
        {
            // Nobody empties the queue any more: without this, Stop would wait for it.
            const Lock lock(tasksMutex_);
            connected_ = false;
        }
        GetLog(4) << text;
        GuardedDisconnect();
    } catch (...) {
        // What fails while a failure is reported must not leave the thread, either.
    }
}

void CConnectorModule::RunUntilStopped() {
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

void CConnectorModule::ConnectFirst() {
    while (!GuardedConnect()) {
        GuardedDisconnect();
        clock_->SleepFor(std::chrono::milliseconds(reconnectDelayMs));
    }
    {
        const Lock tasksLock(tasksMutex_);
        boost::this_thread::interruption_point();
        connected_ = true;
    }
    GetLog(2) << "Connected to product, processing tasks";
}

void CConnectorModule::ProcessMessages() {
    for (;;) {
        CSubscriber::Message message;
        CSubscriber::Context context;
        if (!subscriber_->WaitForMessage(message, context)) {
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

void CConnectorModule::ProcessMessage(const MessagePointer& message) {
    Lock tasksLock(tasksMutex_);
    const auto range = tasks_.equal_range(message->GetMessageType());
    for (auto entry = range.first; entry != range.second; ++entry) {
        if (!RunWithRetries(*entry->second, message, tasksLock)) {
            CancelMessage(message, kRetriesExhausted);
        }
    }
}

// False: the task has used up its attempts.
bool CConnectorModule::RunWithRetries(CMessageTask& task, const MessagePointer& message,
                                      Lock& tasksLock) {
    int attempts = 0;
    while (attempts < kCountedAttempts) {
        bool notCounted = false;
        if (ProcessTask(task, message, notCounted)) {
            return true;
        }
        ReconnectUntilConnected(tasksLock);
        if (!notCounted) {
            ++attempts;
        }
    }
    return false;
}

void CConnectorModule::ReconnectUntilConnected(Lock& tasksLock) {
    connected_ = false;
    tasksLock.unlock();
    do {
        clock_->SleepFor(std::chrono::milliseconds(reconnectDelayMs));
        GetLog(2) << "Reconnecting to product";
    } while (!GuardedReconnect());
    tasksLock.lock();
    boost::this_thread::interruption_point();
    connected_ = true;
}

// True: the task is done with the message. False: reconnect and try again.
bool CConnectorModule::ProcessTask(CMessageTask& task, const MessagePointer& message,
                                   bool& notCounted) {
    notCounted = false;
    try {
        if (message->GetMessageType() == task.GetMessageType()) {
            task.Execute(message);
        }
        return true;
    } catch (const CLocalizedException& error) {
        PublishTaskEvent(message, {kStatusFailed, Code(error.GetCodeLow(), error.GetCodeHigh()),
                                   kSeverityError, error.what()});
        GetLog(4) << error.what();
        return true;
    } catch (const CRetryException& error) {
        PublishTaskEvent(message, {kStatusRetried, kCodeFailed, kSeverityWarning, error.what()});
        GetLog(4) << error.what();
        notCounted = error.IsRestartNeeded();
        return false;
    } catch (const CRestartNeededException& error) {
        GetLog(2) << error.what();
        notCounted = true;
        return false;
    } catch (const std::exception& error) {
        PublishTaskEvent(message, {kStatusFailed, kCodeFailed, kSeverityError, error.what()});
        GetLog(4) << error.what();
        return true;
    }
}

void CConnectorModule::CancelQueuedMessages() {
    CSubscriber::Message message;
    CSubscriber::Context context;
    while (subscriber_->TryTakeMessage(message, context)) {
        CancelMessage(message, kProductNotAvailable);
    }
}

void CConnectorModule::CancelMessage(const MessagePointer& message, const std::string& reason) {
    PublishTaskEvent(message, {kStatusFailed, kCodeCancelled, kSeverityError, reason});
    try {
        GetLog(4) << reason << ", message was: " << message->GetName();
    } catch (const std::exception& error) {
        // A message that cannot tell its name is cancelled all the same.
        GetLog(4) << error.what();
    }
}

// The event is a courtesy to the server: a message whose identifiers are no UUIDs, or a bus that
// fails, costs the event and a line, not the thread.
void CConnectorModule::PublishTaskEvent(const MessagePointer& message, const TaskOutcome& outcome) {
    try {
        if (const auto task = ReportableTask(message)) {
            Publish(
                MakeTaskEvent(*task, outcome, {GetInstanceUUID(), connectorProductId_, clock_}));
        }
    } catch (const std::exception& error) {
        GetLog(4) << error.what();
    }
}

bool CConnectorModule::GuardedConnect() {
    try {
        return Connect();
    } catch (const std::exception& error) {
        GetLog(4) << error.what();
        return false;
    }
}

bool CConnectorModule::GuardedReconnect() {
    try {
        return Reconnect();
    } catch (const std::exception& error) {
        GetLog(4) << error.what();
        return false;
    }
}

void CConnectorModule::GuardedDisconnect() {
    try {
        Disconnect();
    } catch (const std::exception& error) {
        GetLog(4) << error.what();
    }
}

}  // namespace Kyr::Connectors::Common
