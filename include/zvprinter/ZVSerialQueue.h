/// @file ZVSerialQueue.h
/// @brief A named serial queue: blocks run one at a time, in submission order.
#pragma once

#include <zvprinter/ZVExport.h>
#include <zvprinter/ZVRunLoop.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>

/// A serial queue of blocks, such as the library's write queue.
///
/// Under the real clock of its run loop the queue has a thread of its own
/// (named after the label, started on the first block), so a long write pass
/// never blocks the main queue. Under the virtual clock its blocks are posted
/// to the run loop instead and run on the main thread in submission order,
/// which gives tests a single, repeatable interleaving.
///
/// Thread safety: async() may be called from any thread. The destructor runs
/// the blocks already submitted to the queue's thread, then joins it; it must
/// may also run inside a block of the same queue: the thread then finishes
/// that block and the ones already submitted on its own, then ends.
class ZV_EXPORT ZVSerialQueue {
public:
  /// @param label  the queue's name, e.g. "vantu.ble.write.queue".
  /// @param loop   the run loop whose clock decides where blocks run; it must
  ///               outlive the queue.
  explicit ZVSerialQueue(std::string label, ZVRunLoop &loop = ZVRunLoop::main());
  ~ZVSerialQueue();
  ZVSerialQueue(const ZVSerialQueue &) = delete;
  ZVSerialQueue &operator=(const ZVSerialQueue &) = delete;

  const std::string &label() const { return label_; }
  /// Submits @p block; it runs after every block submitted before it.
  void async(std::function<void()> block);
  /// True inside a block of this queue.
  bool isCurrent() const;

private:
  struct State; // shared with the queue's thread, which may outlive the queue

  std::string label_;
  ZVRunLoop &loop_;
  std::shared_ptr<State> state_;
  std::thread thread_;
};
