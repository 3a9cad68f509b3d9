#pragma once
// A small JSON reader for tests: parses a whole document into a tree and
// says where it stopped when the text is not JSON.
//
//   JsonValue json;
//   ASSERT_TRUE(ParseJson(text, &json, &error)) << error;
//   EXPECT_EQ(json["findings"][0]["reason"].text, "ok");

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

namespace Orvik {
namespace Testing {

struct JsonValue {
    enum Kind { Null, Bool, Number, String, Array, Object };
    Kind kind = Null;
    bool boolean = false;
    double number = 0;
    std::string text;
    std::vector<JsonValue> items;
    std::vector<std::pair<std::string, JsonValue>> members;

    // A missing member or item reads as null.
    const JsonValue& operator[](const std::string& key) const
    {
        for (const auto& member : members) {
            if (member.first == key) return member.second;
        }
        return Missing();
    }
    const JsonValue& operator[](size_t index) const { return index < items.size() ? items[index] : Missing(); }
    bool Has(const std::string& key) const
    {
        for (const auto& member : members) {
            if (member.first == key) return true;
        }
        return false;
    }

private:
    static const JsonValue& Missing()
    {
        static const JsonValue missing;
        return missing;
    }
};

namespace JsonDetail {

class Parser {
public:
    explicit Parser(const std::string& text) : text_(text) {}

    bool Document(JsonValue* value)
    {
        if (!Value(value, 0)) return false;
        SkipBlanks();
        return at_ == text_.size() || Fail("text after the value");
    }
    const std::string& error() const { return error_; }

private:
    bool Value(JsonValue* value, int depth)
    {
        SkipBlanks();
        if (depth > 64) return Fail("nested too deeply");
        if (at_ >= text_.size()) return Fail("value expected");
        switch (text_[at_]) {
        case '{': return ObjectValue(value, depth);
        case '[': return ArrayValue(value, depth);
        case '"': value->kind = JsonValue::String; return StringValue(&value->text);
        case 't': value->kind = JsonValue::Bool; value->boolean = true; return Word("true");
        case 'f': value->kind = JsonValue::Bool; return Word("false");
        case 'n': value->kind = JsonValue::Null; return Word("null");
        default: return NumberValue(value);
        }
    }

    bool ObjectValue(JsonValue* value, int depth)
    {
        value->kind = JsonValue::Object;
        ++at_;
        SkipBlanks();
        if (Take('}')) return true;
        do {
            std::pair<std::string, JsonValue> member;
            SkipBlanks();
            if (at_ >= text_.size() || text_[at_] != '"') return Fail("member name expected");
            if (!StringValue(&member.first)) return false;
            SkipBlanks();
            if (!Take(':')) return Fail("':' expected");
            if (!Value(&member.second, depth + 1)) return false;
            value->members.push_back(std::move(member));
            SkipBlanks();
        } while (Take(','));
        return Take('}') || Fail("'}' expected");
    }

    bool ArrayValue(JsonValue* value, int depth)
    {
        value->kind = JsonValue::Array;
        ++at_;
        SkipBlanks();
        if (Take(']')) return true;
        do {
            value->items.emplace_back();
            if (!Value(&value->items.back(), depth + 1)) return false;
            SkipBlanks();
        } while (Take(','));
        return Take(']') || Fail("']' expected");
    }

    bool StringValue(std::string* out)
    {
        ++at_;
        while (at_ < text_.size()) {
            const char c = text_[at_++];
            if (c == '"') return true;
            if (static_cast<unsigned char>(c) < 0x20) return Fail("control character in a string");
            if (c != '\\') {
                *out += c;
                continue;
            }
            if (at_ >= text_.size()) break;
            const char escape = text_[at_++];
            switch (escape) {
            case '"': case '\\': case '/': *out += escape; break;
            case 'b': *out += '\b'; break;
            case 'f': *out += '\f'; break;
            case 'n': *out += '\n'; break;
            case 'r': *out += '\r'; break;
            case 't': *out += '\t'; break;
            case 'u': if (!Unicode(out)) return false; break;
            default: return Fail("unknown escape");
            }
        }
        return Fail("unterminated string");
    }

    // \uXXXX of the Basic Multilingual Plane, written as UTF-8.
    bool Unicode(std::string* out)
    {
        if (text_.size() - at_ < 4) return Fail("short \\u escape");
        const std::string digits = text_.substr(at_, 4);
        if (digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return Fail("bad \\u escape");
        at_ += 4;
        const unsigned long code = std::strtoul(digits.c_str(), nullptr, 16);
        if (code < 0x80) {
            *out += static_cast<char>(code);
        } else if (code < 0x800) {
            *out += static_cast<char>(0xC0 | (code >> 6));
            *out += static_cast<char>(0x80 | (code & 0x3F));
        } else {
            *out += static_cast<char>(0xE0 | (code >> 12));
            *out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            *out += static_cast<char>(0x80 | (code & 0x3F));
        }
        return true;
    }

    bool NumberValue(JsonValue* value)
    {
        const size_t start = at_;
        if (at_ < text_.size() && text_[at_] == '-') ++at_;
        while (at_ < text_.size() && std::string("0123456789.eE+-").find(text_[at_]) != std::string::npos) ++at_;
        const std::string digits = text_.substr(start, at_ - start);
        char* end = nullptr;
        value->kind = JsonValue::Number;
        value->number = std::strtod(digits.c_str(), &end);
        return (!digits.empty() && end == digits.c_str() + digits.size()) || Fail("value expected");
    }

    bool Word(const char* word)
    {
        const std::string expected(word);
        if (text_.compare(at_, expected.size(), expected) != 0) return Fail("unknown word");
        at_ += expected.size();
        return true;
    }

    bool Take(char c)
    {
        if (at_ < text_.size() && text_[at_] == c) {
            ++at_;
            return true;
        }
        return false;
    }

    void SkipBlanks()
    {
        while (at_ < text_.size() && std::string(" \t\r\n").find(text_[at_]) != std::string::npos) ++at_;
    }

    bool Fail(const std::string& what)
    {
        if (error_.empty()) error_ = what + " at offset " + std::to_string(at_);
        return false;
    }

    const std::string& text_;
    size_t at_ = 0;
    std::string error_;
};

}  // namespace JsonDetail

inline bool ParseJson(const std::string& text, JsonValue* value, std::string* error)
{
    JsonDetail::Parser parser(text);
    *value = JsonValue();
    const bool parsed = parser.Document(value);
    if (!parsed && error != nullptr) *error = parser.error();
    return parsed;
}

}  // namespace Testing
}  // namespace Orvik
