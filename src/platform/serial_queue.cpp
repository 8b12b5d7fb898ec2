#include <zvprinter/ZVSerialQueue.h>

#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <mutex>

struct ZVSerialQueue::State {
  std::mutex mutex;
  std::condition_variable wake;
  std::deque<std::function<void()>> blocks;
  bool closing = false;
  std::atomic<std::thread::id> runner{};

  void work(const std::string &label) {
    // Linux limits thread names to 15 characters; keep the end, which is the
    // distinctive part of a reverse-domain label.
    const std::string name = label.size() > 15 ? label.substr(label.size() - 15) : label;
    pthread_setname_np(pthread_self(), name.c_str());
    runner = std::this_thread::get_id();
    std::unique_lock lock(mutex);
    while (true) {
      wake.wait(lock, [this] { return closing || !blocks.empty(); });
      if (blocks.empty()) return; // closing and drained
      auto block = std::move(blocks.front());
      blocks.pop_front();
      lock.unlock();
      block();
      lock.lock();
    }
  }
};

ZVSerialQueue::ZVSerialQueue(std::string label, ZVRunLoop &loop)
    : label_(std::move(label)), loop_(loop), state_(std::make_shared<State>()) {}

ZVSerialQueue::~ZVSerialQueue() {
  {
    std::lock_guard lock(state_->mutex);
    state_->closing = true;
    state_->wake.notify_all();
  }
  if (!thread_.joinable()) return;
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

bool ZVSerialQueue::isCurrent() const {
  return state_->runner.load() == std::this_thread::get_id();
}

void ZVSerialQueue::async(std::function<void()> block) {
  if (!block) return;
  if (loop_.isVirtual()) {
    // Wrapped so that isCurrent() holds inside the block, as on the thread.
    loop_.post([state = state_, block = std::move(block)] {
      const auto previous = state->runner.exchange(std::this_thread::get_id());
      block();
      state->runner.store(previous);
    });
    return;
  }
  std::lock_guard lock(state_->mutex);
  state_->blocks.push_back(std::move(block));
  if (!thread_.joinable()) {
    thread_ = std::thread([state = state_, label = label_] { state->work(label); });
  }
  state_->wake.notify_all();
}
