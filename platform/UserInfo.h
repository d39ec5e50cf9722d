// What comes along with a notification: values by name, of a few types.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace platform {

template <class... Types>
using UserInfo = std::map<std::string, std::variant<Types...>, std::less<>>;

// The value under `key` if it is there and of type T, else nothing.
template <class T, class... Types>
std::optional<T> valueIn(const UserInfo<Types...>& userInfo, std::string_view key) {
  const auto found = userInfo.find(key);
  if (found == userInfo.end()) return std::nullopt;
  const T* value = std::get_if<T>(&found->second);
  return value ? std::optional<T>(*value) : std::nullopt;
}

}  // namespace platform
