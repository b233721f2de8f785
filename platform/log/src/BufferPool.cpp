#include "BufferPool.hpp"

#include <new>

#include "Message.hpp"

namespace nkr::log {

BufferPool& BufferPool::instance() {
  static BufferPool& pool = *new BufferPool;  // never destroyed: destructors of static objects log too
  return pool;
}

nkr_log_msg_t* BufferPool::take() noexcept {
  const std::lock_guard<std::mutex> lock(mutex_);
  nkr_log_msg_t* buffer = free_;
  if (buffer != nullptr) {
    free_ = buffer->next_free;
  } else {
    if (made_ == kMaxBuffers) return nullptr;
    buffer = new (std::nothrow) nkr_log_msg;
    if (buffer == nullptr) return nullptr;
    ++made_;
  }
  buffer->next_free = nullptr;
  buffer->state = MessageState::TAKEN;
  buffer->size = 0;
  return buffer;
}

void BufferPool::give_back(nkr_log_msg_t* buffer) noexcept {
  if (buffer == nullptr) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  if (buffer->state == MessageState::FREE) return;
  buffer->state = MessageState::FREE;
  buffer->next_free = free_;
  free_ = buffer;
}

}  // namespace nkr::log
