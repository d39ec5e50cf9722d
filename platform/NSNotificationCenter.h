// Named notifications inside the process.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/NSRunningApplication.h"
#include "platform/UserInfo.h"

namespace platform {

struct NSNotification {
  std::string name;
  UserInfo<std::int32_t, std::string, NSRunningApplication> userInfo;

  // The value under `key` if it is there and of type T, else nothing.
  template <class T>
  std::optional<T> value(std::string_view key) const {
    return valueIn<T>(userInfo, key);
  }
};

// Where the block of an observer runs.
enum class NSOperationQueue {
  poster,     // on the posting thread, inside the post
  mainQueue,  // on the main thread: inside the post if that is where it happens, else in a main-thread task
};

// Safe to use from any thread.
class NSNotificationCenter {
 public:
  using Block = std::function<void(const NSNotification&)>;
  // Names one registration; never reused.
  enum class ObserverToken : std::uint64_t {};

  // The process's own centre. It belongs to the installed desktop and lives as long.
  static NSNotificationCenter& defaultCenter();

  ObserverToken addObserverForName(std::string name, NSOperationQueue queue, Block block);
  // No block starts afterwards for this token, if called on the thread that the block runs on. Unknown tokens are
  // ignored.
  void removeObserver(ObserverToken token);
  void postNotification(const NSNotification& notification);

 private:
  struct Observer {
    std::string name;
    NSOperationQueue queue;
    std::shared_ptr<const Block> block;
  };

  void deliver(ObserverToken token, const NSNotification& notification);

  std::mutex mutex_;
  std::map<ObserverToken, Observer> observers_;
  std::uint64_t lastToken_ = 0;
};

}  // namespace platform
