// Stand-in for the Windows profile reader, answering named queries exactly
// as it does, odd corners included. A null section or key (a listing of
// names on Windows) is not supported here: it yields the default.

#include "platform/profile.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "platform/posix/native_path.h"

namespace Orvik {
namespace Platform {

namespace {

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

std::string_view Trim(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

bool SameName(std::string_view a, std::string_view b)
{
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [&](char x, char y) { return lower(x) == lower(y); });
}

// The value of the first entry of key in the first section of that name.
// Lines before any header form a section named "". A line without '=' is an
// entry without a value: it hides later entries of its key and has no
// answer, so the caller falls back to the default. There are no comments.
std::optional<std::string_view> FindValue(std::string_view text, std::string_view section, std::string_view key)
{
    if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    bool inSection = section.empty();
    while (!text.empty()) {
        const size_t end = text.find_first_of("\r\n");
        const std::string_view line = Trim(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.empty()) continue;

        const size_t close = line.rfind(']');
        if (line.front() == '[' && close != std::string_view::npos) {
            if (inSection) return std::nullopt;
            inSection = SameName(Trim(line.substr(1, close - 1)), section);
            continue;
        }
        if (!inSection) continue;
        const size_t equals = line.find('=');
        if (!SameName(Trim(line.substr(0, equals)), key)) continue;
        if (equals == std::string_view::npos) return std::nullopt;
        return Trim(line.substr(equals + 1));
    }
    return std::nullopt;
}

// One pair of enclosing quotes goes. The closing quote is dropped after the
// copy as the last character copied, and only when the buffer reaches
// length - 1 after the opening quote, so a buffer one byte short of the
// unquoted text loses a character of the text instead.
uint32_t CopyOut(std::string_view text, char* buffer, uint32_t size)
{
    if (size == 0) return 0;
    const bool quoted = text.size() > 1 && (text.front() == '"' || text.front() == '\'') &&
                        text.back() == text.front();
    if (quoted) text.remove_prefix(1);
    size_t length = std::min<size_t>(text.size(), size - 1);
    if (quoted && size >= text.size() && length > 0) --length;
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
    return static_cast<uint32_t>(length);
}

std::string_view DefaultText(const char* defaultValue)
{
    // Trailing spaces (not other blanks) go, but never the first character.
    std::string_view text = defaultValue != nullptr ? defaultValue : "";
    while (text.size() > 1 && text.back() == ' ') text.remove_suffix(1);
    return text;
}

}  // namespace

uint32_t ReadProfileValue(const char* section, const char* key, const char* defaultValue, char* buffer,
                          uint32_t size, const char* file)
{
    if (buffer == nullptr) return 0;
    if (section != nullptr && key != nullptr && file != nullptr) {
        std::ifstream stream(ToNativePath(file), std::ios::binary);
        if (stream) {
            const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
            const std::optional<std::string_view> value = FindValue(text, Trim(section), Trim(key));
            if (value) return CopyOut(*value, buffer, size);
        }
    }
    return CopyOut(DefaultText(defaultValue), buffer, size);
}

}  // namespace Platform
}  // namespace Orvik
