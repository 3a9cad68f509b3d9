#include "tools/json_writer.h"

#include <cstdio>

namespace Orvik {
namespace Tools {

namespace {

// The length of the UTF-8 sequence starting at text[i], or 0 when the bytes
// there are no valid sequence.
size_t Utf8Length(const std::string& text, size_t i)
{
    const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
    const unsigned char lead = byte(i);
    size_t length = lead >= 0xF0 && lead <= 0xF4 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 && lead <= 0xDF ? 2 : 0;
    if (length == 0 || i + length > text.size()) return 0;
    // No overlong forms, no surrogates, nothing above U+10FFFF.
    const unsigned char second = byte(i + 1);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) || (lead == 0xF0 && second < 0x90) ||
        (lead == 0xF4 && second > 0x8F)) {
        return 0;
    }
    for (size_t k = 1; k < length; ++k) {
        if ((byte(i + k) & 0xC0) != 0x80) return 0;
    }
    return length;
}

void WriteEscaped(std::ostream& out, unsigned int character)
{
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", character);
    out << escape;
}

}  // namespace

JsonWriter& JsonWriter::Key(const std::string& name)
{
    String(name);
    out_ << ": ";
    afterKey_ = true;
    return *this;
}

JsonWriter& JsonWriter::String(const std::string& text)
{
    BeforeElement();
    out_ << '"';
    for (size_t i = 0; i < text.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '"' || c == '\\') {
            out_ << '\\' << c;
        } else if (c == '\n') {
            out_ << "\\n";
        } else if (c == '\r') {
            out_ << "\\r";
        } else if (c == '\t') {
            out_ << "\\t";
        } else if (c < 0x20) {
            WriteEscaped(out_, c);
        } else if (c < 0x80) {
            out_ << c;
        } else if (const size_t length = Utf8Length(text, i)) {
            out_.write(text.data() + i, static_cast<std::streamsize>(length));
            i += length - 1;
        } else {
            WriteEscaped(out_, c);
        }
    }
    out_ << '"';
    return *this;
}

JsonWriter& JsonWriter::Number(int64_t value)
{
    BeforeElement();
    out_ << value;
    return *this;
}

JsonWriter& JsonWriter::Bool(bool value)
{
    BeforeElement();
    out_ << (value ? "true" : "false");
    return *this;
}

JsonWriter& JsonWriter::Null()
{
    BeforeElement();
    out_ << "null";
    return *this;
}

JsonWriter& JsonWriter::Open(char bracket)
{
    BeforeElement();
    out_ << bracket;
    counts_.push_back(0);
    return *this;
}

JsonWriter& JsonWriter::Close(char bracket)
{
    const bool empty = counts_.empty() || counts_.back() == 0;
    if (!counts_.empty()) counts_.pop_back();
    if (!empty) NewLine();
    out_ << bracket;
    return *this;
}

void JsonWriter::BeforeElement()
{
    // A key's value follows it on the same line.
    if (afterKey_) {
        afterKey_ = false;
        return;
    }
    if (counts_.empty()) return;
    if (counts_.back()++ > 0) out_ << ',';
    NewLine();
}

void JsonWriter::NewLine()
{
    out_ << '\n';
    for (size_t level = 0; level < counts_.size(); ++level) out_ << "  ";
}

}  // namespace Tools
}  // namespace Orvik
