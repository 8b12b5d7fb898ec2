#include <zvprinter/ZVPlatform.h>
#include <zvprinter/ZVSimCentral.h>

#include <mutex>

namespace {

struct FactorySlot {
  std::mutex mutex;
  ZVPlatform::CentralFactory factory;
};

FactorySlot &slot() {
  static FactorySlot instance;
  return instance;
}

} // namespace

void ZVPlatform::setCentralFactory(CentralFactory factory) {
  std::lock_guard lock(slot().mutex);
  slot().factory = std::move(factory);
}

std::shared_ptr<ZVBleCentral> ZVPlatform::makeCentral() {
  CentralFactory factory;
  {
    std::lock_guard lock(slot().mutex);
    factory = slot().factory;
  }
  if (factory) {
    if (auto central = factory()) return central;
  }
  return std::make_shared<ZVSimCentral>(ZVRunLoop::main());
}
