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

#include "platform/file_system.h"

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

// Where the next line lies that may be the header of section: the first
// '[' on its line after blanks, followed by the section's first character.
// Other lines, however many, cannot open it. text starts at a line.
size_t NextHeaderOf(std::string_view text, std::string_view section)
{
    for (size_t open = text.find('['); open != std::string_view::npos; open = text.find('[', open + 1)) {
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
    try {
        text.emplace(GetFileSizeLow(handle), '\0');
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
