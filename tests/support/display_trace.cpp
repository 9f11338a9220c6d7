#include "support/display_trace.h"

#include "support/fake_platform.h"

namespace quendal {
namespace {

SemaphoreSet semaphoreOf(const std::string& event) {
  return SemaphoreSet("TORVA_G_IPC_SEM_" + event);
}

}  // namespace

DisplayTrace::DisplayTrace()
    : semaphores_{{{"START2RX", semaphoreOf("START2RX")},
                   {"START2RXDUNCARE", semaphoreOf("START2RXDUNCARE")},
                   {"RXCOMPLETE", semaphoreOf("RXCOMPLETE")},
                   {"NETW_UP", semaphoreOf("NETW_UP")},
                   {"NETW_DN", semaphoreOf("NETW_DN")},
                   {"VIDEO_CONTEXT_CHANGE", semaphoreOf("VIDEO_CONTEXT_CHANGE")},
                   {"NETW_UTIL_DN", semaphoreOf("NETW_UTIL_DN")}}} {
  fake::onEvent([this](const std::string& event) {
    {
      const std::scoped_lock lock(mutex_);
      takePosts();
      entries_.push_back(event);
    }
    if (next_) {
      next_(event);
    }
  });
}

DisplayTrace::~DisplayTrace() {
  fake::onEvent(nullptr);
}

std::vector<std::string> DisplayTrace::entries() {
  const std::scoped_lock lock(mutex_);
  takePosts();
  return entries_;
}

void DisplayTrace::takePosts() {
  for (Semaphore& semaphore : semaphores_) {
    while (semaphore.set.take()) {
      entries_.push_back("post " + semaphore.event);
    }
  }
}

}  // namespace quendal
