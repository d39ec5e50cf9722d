// A persistent store of named values, one store per suite. Main thread.
#pragma once

#include <memory>
#include <optional>
#include <string>

namespace platform {

class UserDefaults {
 public:
  UserDefaults() = default;
  UserDefaults(const UserDefaults&) = delete;
  UserDefaults& operator=(const UserDefaults&) = delete;
  virtual ~UserDefaults() = default;

  // Null if the desktop refuses a suite of that name.
  static std::shared_ptr<UserDefaults> suite(const std::string& suiteName);
  static std::shared_ptr<UserDefaults> standard();

  // The bytes under `key`, as last stored by any process of this user; absent if there are none.
  virtual std::optional<std::string> data(const std::string& key) = 0;
  // Replaces the value on disk before it returns. A store that cannot be written keeps its value for this process.
  virtual void set(const std::string& bytes, const std::string& key) = 0;
  // Moves all that is stored to where nothing replaces it, for the user to look at, and begins anew. False if that
  // failed. Either is logged.
  virtual bool setAside() = 0;
};

}  // namespace platform
