#pragma once

/// @file
/// Objects in JSON, each described once for both directions. A type says how in a specialisation of
/// `Stored`, either by its fields in the order of the text,
///
///     template <>
///     struct Stored<Range> {
///         static void fields(auto& a, auto& range) {
///             a("first", range.first)("last", range.last);
///             a.check("last", [&] { return range.first <= range.last; }, "expected a range");
///         }
///     };
///
/// which a `StoredWriter` (over a const object) writes and a `StoredReader` reads and checks, or
/// as a value of its own by `write(JsonWriter&, const T&)` and `T read(const JsonView&)`. Numbers,
/// `std::string` and `std::vector` need none.

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/Json.h"

namespace Veltrix {

template <class Object>
struct Stored;

namespace Support {

/// The number of entries that a list must have.
struct Length {
    std::int64_t value;
};

/// A type that is a JSON value of its own.
template <class T>
concept StoredAsValue = requires(JsonWriter& json, const T& value) {
    Stored<T>::write(json, value);
};

/// Throws `JsonError` unless a list has that many entries.
inline void expectSize(const JsonView& list, std::int64_t expected) {
    if (list.size() == expected) return;
    list.fail("expected " + std::to_string(expected) + " values, found " +
              std::to_string(list.size()));
}

/// A whole number of at least 0.
inline std::int32_t readCount(const JsonView& value) {
    const std::int32_t found = value.asInt32();
    if (found < 0) value.fail("expected a count, found " + std::to_string(found));
    return found;
}

template <class T>
void writeStored(JsonWriter& json, const T& value);
template <class T>
T readStored(const JsonView& view);

/// Writes the fields of an object; what only a reader checks does nothing here.
class StoredWriter {
  public:
    static constexpr bool kReads = false;

    explicit StoredWriter(JsonWriter& json) : json_(json) {}

    template <class T>
    StoredWriter& operator()(std::string_view key, const T& value) {
        json_.key(key);
        writeStored(json_, value);
        return *this;
    }
    template <class T>
    StoredWriter& operator()(std::string_view key, const T& value, Length /*expected*/) {
        return (*this)(key, value);
    }
    template <class T>
    StoredWriter& optional(std::string_view key, const T& value) {
        return (*this)(key, value);
    }
    StoredWriter& count(std::string_view key, std::int32_t value) { return (*this)(key, value); }
    template <class Get, class Set>
    StoredWriter& property(std::string_view key, Get get, Set /*set*/) {
        return (*this)(key, get());
    }
    template <class Get, class Set>
    StoredWriter& property(std::string_view key, Get get, Set /*set*/, Length /*expected*/) {
        return (*this)(key, get());
    }
    template <class Rule>
    StoredWriter& check(std::string_view /*key*/, Rule /*holds*/, std::string_view /*expected*/) {
        return *this;
    }

  private:
    JsonWriter& json_;
};

/// Reads the fields of an object. A key that is missing, a value of another kind and a rule that
/// does not hold throw `JsonError` with the key.
class StoredReader {
  public:
    static constexpr bool kReads = true;

    explicit StoredReader(const JsonView& view) : view_(view) {}

    template <class T>
    StoredReader& operator()(std::string_view key, T& value) {
        value = readStored<T>(view_.at(key));
        return *this;
    }
    /// A list of a length that is known by now.
    template <class T>
    StoredReader& operator()(std::string_view key, T& value, Length expected) {
        const JsonView stored = view_.at(key);
        expectSize(stored, expected.value);
        value = readStored<T>(stored);
        return *this;
    }
    /// A field that older files lack; it is left as it is then.
    template <class T>
    StoredReader& optional(std::string_view key, T& value) {
        if (const auto stored = view_.find(key)) value = readStored<T>(*stored);
        return *this;
    }
    /// A whole number of at least 0.
    StoredReader& count(std::string_view key, std::int32_t& value) {
        value = readCount(view_.at(key));
        return *this;
    }
    /// Something that is got and set by functions.
    template <class Get, class Set>
    StoredReader& property(std::string_view key, Get /*get*/, Set set) {
        set(readStored<std::remove_cvref_t<std::invoke_result_t<Get>>>(view_.at(key)));
        return *this;
    }
    template <class Get, class Set>
    StoredReader& property(std::string_view key, Get get, Set set, Length expected) {
        expectSize(view_.at(key), expected.value);
        return property(key, get, set);
    }
    /// A rule that the fields read so far must keep; `key` is the one to blame.
    template <class Rule>
    StoredReader& check(std::string_view key, Rule holds, std::string_view expected) {
        if (!holds()) view_.at(key).fail(expected);
        return *this;
    }
    /// For what no rule above covers.
    const JsonView& view() const { return view_; }

  private:
    const JsonView& view_;
};

template <class T>
void writeStored(JsonWriter& json, const T& value) {
    if constexpr (std::is_arithmetic_v<T>) {
        json.value(value);
    } else if constexpr (std::same_as<T, std::string>) {
        json.value(std::string_view(value));
    } else if constexpr (StoredAsValue<T>) {
        Stored<T>::write(json, value);
    } else if constexpr (requires { json.value(std::span(std::as_const(value))); }) {
        json.value(std::span(value));
    } else if constexpr (requires { value.begin(); }) {
        json.beginArray();
        for (const auto& each : value) writeStored(json, each);
        json.endArray();
    } else {
        json.beginObject();
        StoredWriter fields(json);
        Stored<T>::fields(fields, value);
        json.endObject();
    }
}

template <class T>
T readStored(const JsonView& view) {
    if constexpr (std::same_as<T, bool>) {
        return view.asBool();
    } else if constexpr (std::same_as<T, double>) {
        return view.asDouble();
    } else if constexpr (std::same_as<T, std::int32_t>) {
        return view.asInt32();
    } else if constexpr (std::same_as<T, std::int64_t>) {
        return view.asInt64();
    } else if constexpr (std::same_as<T, std::uint32_t> || std::same_as<T, std::uint64_t>) {
        const std::uint64_t found = view.asUint64();
        if (!std::in_range<T>(found)) view.fail("an integer within range expected");
        return static_cast<T>(found);
    } else if constexpr (std::same_as<T, std::string>) {
        return view.asString();
    } else if constexpr (StoredAsValue<T>) {
        return Stored<T>::read(view);
    } else if constexpr (std::same_as<T, std::vector<double>>) {
        return view.asDoubles();
    } else if constexpr (std::same_as<T, std::vector<std::int32_t>>) {
        return view.asInt32s();
    } else if constexpr (std::same_as<T, std::vector<std::string>>) {
        return view.asStrings();
    } else if constexpr (requires(T list) { list.emplace_back(); }) {
        T list;
        const std::int64_t size = view.size();
        list.reserve(static_cast<std::size_t>(size));
        for (std::int64_t k = 0; k < size; ++k) {
            list.push_back(readStored<typename T::value_type>(view.at(k)));
        }
        return list;
    } else {
        T object;
        StoredReader fields(view);
        Stored<T>::fields(fields, object);
        return object;
    }
}

}  // namespace Support
}  // namespace Veltrix
