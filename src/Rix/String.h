#pragma once
// Rix::String8 (text) and Rix::Name (an object's name): owning byte strings with a constant
// iterator that the text-form parsers advance through.
#include <compare>
#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>

namespace Rix {

// A position in a string's bytes. Parsers take (pos, end) and move pos past what they read.
class StrIter {
  public:
    using difference_type = std::ptrdiff_t;
    using value_type = char;
    StrIter() = default;
    explicit StrIter(const char* p) : p_(p) {}
    char operator*() const { return *p_; }
    StrIter& operator++() {
        ++p_;
        return *this;
    }
    StrIter operator++(int) { return StrIter(p_++); }
    StrIter& operator+=(std::ptrdiff_t n) {
        p_ += n;
        return *this;
    }
    friend StrIter operator+(StrIter a, std::ptrdiff_t n) { return StrIter(a.p_ + n); }
    friend std::ptrdiff_t operator-(StrIter a, StrIter b) { return a.p_ - b.p_; }
    friend bool operator==(StrIter a, StrIter b) = default;
    friend auto operator<=>(StrIter a, StrIter b) = default;
    const char* raw() const { return p_; }

  private:
    const char* p_ = nullptr;
};

template <class Tag>
class BasicString {
  public:
    using IteratorConst = StrIter;
    BasicString() = default;
    BasicString(const char* s) : s_(s ? s : "") {}
    BasicString(std::string s) : s_(std::move(s)) {}
    BasicString(std::string_view s) : s_(s) {}
    BasicString(const char* b, std::size_t n) : s_(b, n) {}
    template <class OtherTag>
    explicit BasicString(const BasicString<OtherTag>& o) : s_(o.str()) {}

    const std::string& str() const noexcept { return s_; }
    std::string& str() noexcept { return s_; }
    const char* c_str() const noexcept { return s_.c_str(); }
    std::string_view view() const noexcept { return s_; }
    std::size_t size() const noexcept { return s_.size(); }
    bool empty() const noexcept { return s_.empty(); }
    IteratorConst begin() const noexcept { return IteratorConst(s_.data()); }
    IteratorConst end() const noexcept { return IteratorConst(s_.data() + s_.size()); }
    operator std::string_view() const noexcept { return s_; }

    BasicString& operator+=(std::string_view v) {
        s_ += v;
        return *this;
    }
    friend BasicString operator+(BasicString a, std::string_view b) {
        a.s_ += b;
        return a;
    }
    friend bool operator==(const BasicString&, const BasicString&) = default;
    friend std::strong_ordering operator<=>(const BasicString& a, const BasicString& b) {
        return a.s_ <=> b.s_;
    }
    friend bool operator==(const BasicString& a, const char* b) { return a.s_ == b; }
    friend std::ostream& operator<<(std::ostream& os, const BasicString& s) { return os << s.s_; }

  private:
    std::string s_;
};

struct String8Tag {};
struct NameTag {};
using String8 = BasicString<String8Tag>;
using Name = BasicString<NameTag>;

}  // namespace Rix

template <class Tag>
struct std::hash<Rix::BasicString<Tag>> {
    std::size_t operator()(const Rix::BasicString<Tag>& s) const noexcept {
        return std::hash<std::string>()(s.str());
    }
};
