// Stand-in for the Windows profile reader, answering named queries exactly
// as it does, odd corners included. A null section or key (a listing of
// names on Windows) is not supported here: it yields the default.

#include "platform/profile.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "orvik/platform/file_system.h"
#include "orvik/platform/module_loader.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

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

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameName(std::string_view a, std::string_view b)
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return Lower(x) == Lower(y); });
}

// The first '[' at or after from that may open a section whose name starts
// with first (lower-case; 0 for any): followed by a blank or by first in
// either case. A catalog has a header every few lines, of which the one
// sought is rarely one, so sixteen bytes are sifted at a time where the
// processor compares them at once.
size_t NextOpening(std::string_view text, size_t from, char first)
{
    const auto candidate = [&](size_t open) {
        if (first == '\0' || open + 1 >= text.size()) return true;
        const char next = text[open + 1];
        return IsBlank(next) || Lower(next) == first;
    };
    size_t i = from;
#if defined(__SSE2__)
    if (first != '\0') {
        const char upper = first >= 'a' && first <= 'z' ? static_cast<char>(first - 'a' + 'A') : first;
        const __m128i opens = _mm_set1_epi8('['), lowers = _mm_set1_epi8(first), uppers = _mm_set1_epi8(upper);
        const __m128i spaces = _mm_set1_epi8(' '), tab = _mm_set1_epi8('\t'), controls = _mm_set1_epi8('\r' - '\t');
        for (; i + 17 <= text.size(); i += 16) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + i));
            const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + i + 1));
            // A blank is ' ' or '\t'..'\r': next - '\t' at most 4, unsigned.
            const __m128i fromTab = _mm_sub_epi8(next, tab);
            const __m128i blank = _mm_or_si128(_mm_cmpeq_epi8(next, spaces),
                                               _mm_cmpeq_epi8(_mm_min_epu8(fromTab, controls), fromTab));
            const __m128i named = _mm_or_si128(_mm_cmpeq_epi8(next, lowers), _mm_cmpeq_epi8(next, uppers));
            const unsigned found = static_cast<unsigned>(
                _mm_movemask_epi8(_mm_and_si128(_mm_cmpeq_epi8(bytes, opens), _mm_or_si128(blank, named))));
            if (found != 0) return i + static_cast<size_t>(__builtin_ctz(found));
        }
    }
#endif
    for (size_t open = text.find('[', i); open != std::string_view::npos; open = text.find('[', open + 1)) {
        if (candidate(open)) return open;
    }
    return std::string_view::npos;
}

// Where the next line lies that may be the header of section: the first
// '[' on its line after blanks, followed by the section's first character.
// Other lines, however many, cannot open it. text starts at a line.
size_t NextHeaderOf(std::string_view text, std::string_view section)
{
    const char first = section.empty() ? '\0' : Lower(section.front());
    for (size_t open = NextOpening(text, 0, first); open != std::string_view::npos;
         open = NextOpening(text, open + 1, first)) {
        size_t line = open;
        while (line > 0 && IsBlank(text[line - 1]) && text[line - 1] != '\r' && text[line - 1] != '\n') --line;
        if (line > 0 && text[line - 1] != '\r' && text[line - 1] != '\n') continue;
        size_t name = open + 1;
        while (name < text.size() && IsBlank(text[name])) ++name;
        if (section.empty() || (name < text.size() && Lower(text[name]) == Lower(section.front()))) return line;
    }
    return std::string_view::npos;
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
        if (!inSection) {
            const size_t header = NextHeaderOf(text, section);
            if (header == std::string_view::npos) return std::nullopt;
            text.remove_prefix(header);
        }
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

// The contents of a regular file, read up to the size it had when opened;
// nothing for a missing file, a directory, FIFO or device (they read as
// missing, as on Windows) and for a file too large for memory.
std::optional<std::string> ReadFileText(const char* file)
{
    const FileHandle handle = OpenFileForReading(file);
    if (handle == InvalidFileHandle()) return std::nullopt;
    std::optional<std::string> text;
    SetLastErrorCode(kErrorSuccess);
    const uint32_t size = GetFileSizeLow(handle);
    // All bits set with an error is no size: the file could not be asked.
    if (size == ~uint32_t{0} && GetLastErrorCode() != kErrorSuccess) {
        CloseFile(handle);
        return text;
    }
    try {
        text.emplace(size, '\0');
        uint32_t bytesRead = 0;
        if (ReadFromFile(handle, text->data(), static_cast<uint32_t>(text->size()), &bytesRead)) {
            text->resize(bytesRead);
        } else {
            text.reset();
        }
    } catch (const std::bad_alloc&) {
        text.reset();
    }
    CloseFile(handle);
    return text;
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
        if (const std::optional<std::string> text = ReadFileText(file)) {
            const std::optional<std::string_view> value = FindValue(*text, Trim(section), Trim(key));
            if (value) return CopyOut(*value, buffer, size);
        }
    }
    return CopyOut(DefaultText(defaultValue), buffer, size);
}

uint32_t ReadProfileValueFromText(const char* section, const char* key, const char* defaultValue, char* buffer,
                                  uint32_t size, const char* file, const char* text, uint32_t textSize)
{
    if (text == nullptr) return ReadProfileValue(section, key, defaultValue, buffer, size, file);
    if (buffer == nullptr) return 0;
    if (section != nullptr && key != nullptr) {
        const std::optional<std::string_view> value =
            FindValue(std::string_view(text, textSize), Trim(section), Trim(key));
        if (value) return CopyOut(*value, buffer, size);
    }
    return CopyOut(DefaultText(defaultValue), buffer, size);
}

}  // namespace Platform
}  // namespace Orvik
