#include "Veltrix/Data/IntVector.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "data/containers/Checks.h"
#include "data/containers/Stored.h"
#include "support/RuntimeRandom.h"

namespace Veltrix {
namespace {

constexpr const char* kType = "IntVector";

/// Inside another object a list is its values; by itself it has a name.
struct NamedList {
    WString name;
    IntVector values;
};

}  // namespace

template <>
struct Stored<NamedList> {
    static void fields(auto& a, auto& list) { a("name", list.name)("values", list.values); }
};

IntVector::IntVector(std::uint64_t size) : values_(size, 0) {}
IntVector::IntVector(std::uint64_t size, int value) : values_(size, value) {}
IntVector::IntVector(std::initializer_list<int> values) : values_(values) {}
IntVector::~IntVector() = default;

IntVector& IntVector::operator=(const IntVector& other) {
    WString name = other.name_;
    values_ = other.values_;  // changes nothing when it fails, as the elements are numbers
    name_ = std::move(name);
    return *this;
}

int IntVector::at(std::uint64_t index) const {
    Checks::index("IntVector::at", "element", index, size());
    return values_[index];
}

int& IntVector::back() {
    Checks::notEmpty("IntVector::back", size());
    return values_.back();
}

int IntVector::back() const {
    Checks::notEmpty("IntVector::back", size());
    return values_.back();
}

void IntVector::append(const IntVector& other) {
    const std::uint64_t oldSize = size();
    const std::uint64_t added = other.size();
    values_.resize(oldSize + added);
    // Read after the growth, which moves the elements when other is this vector.
    std::copy_n(other.data(), added, data() + oldSize);
}

void IntVector::insert(std::uint64_t position, int value) {
    Checks::index("IntVector::insert", "position", position, size() + 1);
    values_.insert(values_.begin() + static_cast<std::ptrdiff_t>(position), value);
}

void IntVector::remove(std::uint64_t position) {
    Checks::index("IntVector::remove", "element", position, size());
    values_.erase(values_.begin() + static_cast<std::ptrdiff_t>(position));
}

void IntVector::removeValue(int value) { std::erase(values_, value); }

void IntVector::replace(int oldValue, int newValue) {
    std::replace(values_.begin(), values_.end(), oldValue, newValue);
}

bool IntVector::exists(int value) const {
    return std::find(values_.begin(), values_.end(), value) != values_.end();
}

IntVector& IntVector::operator+=(int value) {
    if (empty()) return *this;
    const auto [least, greatest] = std::minmax_element(values_.begin(), values_.end());
    const std::int64_t outermost = std::int64_t{value < 0 ? *least : *greatest} + value;
    if (!std::in_range<std::int32_t>(outermost)) {
        Checks::fail(ErrorCode::invalidArgument, "IntVector sum",
                     std::to_string(outermost) + " does not fit 32 bits");
    }
    for (int& element : values_) element += value;
    return *this;
}

void IntVector::shuffle(unsigned seed) {
    Support::RuntimeRandom random(seed);
    for (std::uint64_t i = size(); i > 1; --i) {
        std::swap(values_[i - 1], values_[random.nextJoined() % i]);
    }
}

void IntVector::setName(const WString& name) { name_ = name; }
const WString& IntVector::getName() const { return name_; }

WString IntVector::toString() const {
    std::wstring text = L"[";
    for (std::uint64_t i = 0; i < size(); ++i) {
        if (i > 0) text += L", ";
        text += std::to_wstring(values_[i]);
    }
    return text + L"]";
}

WString IntVector::toJson() const { return storedText(kType, NamedList{name_, *this}); }

void IntVector::fromJsonString(const WString& json) {
    NamedList stored = readStoredText<NamedList>(kType, json.toUtf8());
    stored.values.name_ = std::move(stored.name);
    *this = std::move(stored.values);
}

}  // namespace Veltrix
