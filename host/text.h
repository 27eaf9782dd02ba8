#pragma once

#include <boost/optional.hpp>

#include <ostream>
#include <string>
#include <utility>

namespace corvane::device_handler::v1_0 {

// A value that may be absent.
template <class T>
using COptional = boost::optional<T>;

// The framework's text: 8-bit bytes, UTF-8 by convention. Operations hand values out through `CString&` or
// `std::vector<CString>&`. A copy is independent of its source.
class CString {
public:
    CString() = default;
    // Any text is one, without a word about it.
    CString(const char* text) : text_(text ? text : "") {} // NOLINT(google-explicit-constructor)
    CString(std::string text) : text_(std::move(text)) {}  // NOLINT(google-explicit-constructor)

    const char* c_str() const { return text_.c_str(); }
    std::size_t size() const { return text_.size(); }
    bool empty() const { return text_.empty(); }
    const std::string& str() const { return text_; }

    friend bool operator==(const CString& a, const CString& b) { return a.text_ == b.text_; }
    friend bool operator!=(const CString& a, const CString& b) { return a.text_ != b.text_; }
    friend bool operator<(const CString& a, const CString& b) { return a.text_ < b.text_; }
    friend std::ostream& operator<<(std::ostream& out, const CString& value) { return out << value.text_; }

private:
    std::string text_;
};

// The text of a property whose value is a number: "1" for 1.
inline CString PropertyValue(int value) {
    return CString(std::to_string(value));
}

} // namespace corvane::device_handler::v1_0
