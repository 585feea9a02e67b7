#pragma once
// One worker thread that runs the window's operations one at a time, in the
// order they were started, so that the window keeps drawing and answering
// while files are converted. Operations started while one runs wait their
// turn; the buttons stay enabled.

#include <atomic>
#include <functional>

#include <QObject>
#include <QThread>

namespace convora::gui {

class OperationQueue : public QObject {
  Q_OBJECT

 public:
  explicit OperationQueue(QObject* parent = nullptr);
  ~OperationQueue() override { Stop(); }
  OperationQueue(const OperationQueue&) = delete;
  OperationQueue& operator=(const OperationQueue&) = delete;

  // From the interface thread: runs `operation` on the worker after those
  // started before it. An operation must not throw.
  void Enqueue(std::function<void()> operation);
  // Whether an operation runs or waits. Turns false on the interface thread
  // only after everything the operations posted to it has been handled.
  bool Running() const { return pending_ > 0; }

  // Drops the operations still waiting, stops the running one before its next
  // file and waits for it; nothing runs after.
  void Stop();

  // Asks the running operation to stop before its next file; the operations
  // waiting behind it still run.
  void Cancel() { cancel_ = true; }
  const std::atomic<bool>& CancelFlag() const { return cancel_; }

 signals:
  void Started();
  void Idle();

 private:
  QThread thread_;
  QObject* worker_;  // lives in thread_
  int pending_ = 0;
  std::atomic<bool> cancel_{false};
};

// Runs `call` on the interface thread and waits for it: directly when called
// there, otherwise queued to it. The worker's dialogs and widget changes go
// through here so that they keep the order the operation asked them in.
void OnInterfaceThread(const std::function<void()>& call);

}  // namespace convora::gui
