#include "OperationQueue.h"

#include <QCoreApplication>

namespace convora::gui {

OperationQueue::OperationQueue(QObject* parent) : QObject(parent), worker_(new QObject) {
  worker_->moveToThread(&thread_);
  connect(&thread_, &QThread::finished, worker_, &QObject::deleteLater);
  thread_.start();
}

void OperationQueue::Stop() {
  if (thread_.isFinished()) return;
  cancel_ = true;
  thread_.quit();
  // The running operation may be waiting for the interface thread to ask a
  // question or update a list: keep serving it until the worker is done.
  while (!thread_.wait(20)) QCoreApplication::processEvents();
}

void OperationQueue::Enqueue(std::function<void()> operation) {
  if (pending_++ == 0) emit Started();
  QMetaObject::invokeMethod(
      worker_,
      [this, operation = std::move(operation)] {
        cancel_ = false;
        operation();
        // Posted after everything the operation posted, so Idle comes last.
        QMetaObject::invokeMethod(
            this,
            [this] {
              if (--pending_ == 0) emit Idle();
            },
            Qt::QueuedConnection);
      },
      Qt::QueuedConnection);
}

void OnInterfaceThread(const std::function<void()>& call) {
  QCoreApplication* app = QCoreApplication::instance();
  if (app == nullptr || QThread::currentThread() == app->thread()) {
    call();
  } else {
    QMetaObject::invokeMethod(app, call, Qt::BlockingQueuedConnection);
  }
}

}  // namespace convora::gui
