// Reads records from JSON as it is parsed: no tree is built, so a hostile document costs no more than its own size.
#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "varnoletKit/CodingError.h"

namespace varnoletKit {

// One member of a record's JSON object, and where its value goes. The place says the JSON type: a string, an integer
// (written as one, within 64 bits), a boolean, an array of strings, or a string that must have a form of its own.
template <class Record>
struct RecordMember {
  using Text = std::string Record::*;
  using Integer = std::int64_t Record::*;
  using Boolean = bool Record::*;
  using TextSet = std::set<std::string> Record::*;
  // Takes the text into the record; false if it is malformed.
  using FormedText = bool (*)(Record& record, const std::string& text);

  std::string_view name;
  std::variant<Text, Integer, Boolean, TextSet, FormedText> place;
};

enum class DocumentForm { record, listOfRecords };

// Every object must have all the members, each of its type; others are ignored, and so are their values. A member that
// comes twice counts as its last. One fault makes the document unreadable.
//
// The operations are the events of nlohmann's parser, under its names; each answers whether to go on.
template <class Record>
class RecordReader {
 public:
  static std::variant<std::vector<Record>, CodingError> read(const std::string& document, DocumentForm form,
                                                             std::span<const RecordMember<Record>> members) {
    RecordReader reader(form, members);
    // A list that grew by doubling would, while it is moved, take more memory than the document.
    if (form == DocumentForm::listOfRecords) reader.records_.reserve(document.size() / shortestRecord(members));
    if (!nlohmann::json::sax_parse(document, &reader)) return CodingError{std::move(reader.fault_)};
    return std::move(reader.records_);
  }

  bool null() { return scalar(nullptr); }
  bool boolean(bool value) { return scalar(value); }
  bool number_integer(std::int64_t value) { return scalar(value); }
  bool number_unsigned(std::uint64_t value) {
    if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) return scalar(nullptr);
    return scalar(static_cast<std::int64_t>(value));
  }
  bool number_float(double value, const std::string&) { return scalar(value); }
  bool string(std::string& value) { return scalar(std::move(value)); }
  bool binary(std::vector<std::uint8_t>&) { return false; }  // no such thing in JSON text

  bool start_object(std::size_t) {
    if (depth_ == recordDepth_ - 1) {
      record_ = Record{};
      membersSeen_ = 0;
    } else if (depth_ < recordDepth_) {
      return fail("the document is not of the expected kind");
    } else if (member_) {
      return failMember("is not of its type");
    }
    return descend();
  }
  bool key(const std::string& name) {
    if (depth_ != recordDepth_) return true;
    member_ = nullptr;
    for (std::size_t i = 0; i < members_.size(); ++i) {
      if (members_[i].name != name) continue;
      member_ = &members_[i];
      membersSeen_ |= bit(i);
    }
    return true;
  }
  bool end_object() {
    --depth_;
    if (depth_ != recordDepth_ - 1) return true;
    for (std::size_t i = 0; i < members_.size(); ++i) {
      member_ = &members_[i];
      if ((membersSeen_ & bit(i)) == 0) return failMember("is missing");
    }
    records_.push_back(std::move(record_));
    member_ = nullptr;
    return true;
  }
  bool start_array(std::size_t) {
    if (depth_ < recordDepth_) {
      if (depth_ == recordDepth_ - 1) return fail("the document is not of the expected kind");
    } else if (member_) {
      const auto* place = std::get_if<typename RecordMember<Record>::TextSet>(&member_->place);
      if (!place || depth_ > recordDepth_) return failMember("is not of its type");
      (record_.**place).clear();
    }
    return descend();
  }
  bool end_array() {
    --depth_;
    return true;
  }
  bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception&) {
    return fail("not JSON at byte " + std::to_string(position));
  }

 private:
  static constexpr std::size_t deepestNesting = 512;

  RecordReader(DocumentForm form, std::span<const RecordMember<Record>> members)
      : recordDepth_(form == DocumentForm::record ? 1 : 2), members_(members) {}

  // Of its JSON text, each value being of one character.
  static std::size_t shortestRecord(std::span<const RecordMember<Record>> members) {
    std::size_t length = 2;
    for (const auto& member : members) length += member.name.size() + std::string_view("\"\":0,").size();
    return length;
  }
  static std::uint64_t bit(std::size_t index) { return std::uint64_t{1} << index; }

  template <class Value>
  bool scalar(Value value) {
    if (depth_ < recordDepth_) return fail("the document is not of the expected kind");
    if (!member_) return true;
    const bool fits = std::visit([&](auto place) { return assign(place, value); }, member_->place);
    return fits || failMember("is not of its type");
  }
  template <class Place, class Value>
  bool assign(Place place, Value& value) {
    using Member = RecordMember<Record>;
    if constexpr (std::is_same_v<Place, Value Record::*>) {
      record_.*place = std::move(value);
      return true;
    } else if constexpr (std::is_same_v<Place, typename Member::TextSet> && std::is_same_v<Value, std::string>) {
      if (depth_ == recordDepth_) return false;
      (record_.*place).insert(std::move(value));
      return true;
    } else if constexpr (std::is_same_v<Place, typename Member::FormedText> && std::is_same_v<Value, std::string>) {
      return place(record_, value);
    } else {
      return false;
    }
  }

  bool descend() {
    return ++depth_ <= deepestNesting || fail("nested deeper than " + std::to_string(deepestNesting) + " levels");
  }
  bool fail(std::string fault) {
    fault_ = std::move(fault);
    return false;
  }
  bool failMember(std::string_view fault) {
    return fail("\"" + std::string(member_->name) + "\" of record " + std::to_string(records_.size() + 1) + " " +
                std::string(fault));
  }

  // How many containers are open where the members of a record stand, and how many are open now.
  std::size_t recordDepth_;
  std::size_t depth_ = 0;
  std::span<const RecordMember<Record>> members_;
  // The member whose value comes next or is open; null for one to be ignored.
  const RecordMember<Record>* member_ = nullptr;
  std::uint64_t membersSeen_ = 0;
  Record record_;
  std::vector<Record> records_;
  std::string fault_;
};

}  // namespace varnoletKit
