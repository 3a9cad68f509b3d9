#include "platform/multibyte.h"

#include <atomic>
#include <cstring>

namespace Orvik {
namespace Platform {
namespace {

// Shared by every module of the process, as the run-time's setting is on
// Windows. 0 stands for all single-byte code pages.
std::atomic<int> g_codePage{kSingleByteCodePage};

bool IsDoubleByteCodePage(int codePage)
{
    return codePage == 932 || codePage == 936 || codePage == 949 || codePage == 950;
}

bool IsSingleByteCodePage(int codePage)
{
    return codePage == 874 || (codePage >= 1250 && codePage <= 1258);
}

// One call works on one snapshot of the setting, so a concurrent change
// cannot make it read a character with two different tables.
class CodePage {
public:
    CodePage() : number_(g_codePage.load(std::memory_order_relaxed)) {}

    bool IsDoubleByte() const { return IsDoubleByteCodePage(number_); }

    bool IsLead(unsigned char byte) const
    {
        switch (number_) {
        case 932:
            return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
        case 936:
        case 949:
        case 950:
            return byte >= 0x81 && byte <= 0xFE;
        default:
            return false;
        }
    }

    // The character at p and the position after it. A lead byte before the
    // terminator reads as the terminator, as the run-time's comparisons do.
    unsigned int Next(const unsigned char*& p, bool foldCase) const
    {
        const unsigned int first = *p++;
        if (IsLead(static_cast<unsigned char>(first))) {
            if (*p == '\0') return 0;
            return first << 8 | *p++;
        }
        if (foldCase && first >= 'A' && first <= 'Z') return first - 'A' + 'a';
        return first;
    }

private:
    int number_;
};

const unsigned char* Bytes(const char* text) { return reinterpret_cast<const unsigned char*>(text); }

char* Chars(const unsigned char* text)
{
    return const_cast<char*>(reinterpret_cast<const char*>(text));
}

int Compare(const char* a, const char* b, bool foldCase)
{
    const CodePage page;
    if (!foldCase && !page.IsDoubleByte()) {
        const int order = std::strcmp(a, b);
        return order < 0 ? -1 : order > 0 ? 1 : 0;
    }
    const unsigned char* p = Bytes(a);
    const unsigned char* q = Bytes(b);
    for (;;) {
        const unsigned int x = page.Next(p, foldCase);
        const unsigned int y = page.Next(q, foldCase);
        if (x != y) return x < y ? -1 : 1;
        if (x == 0) return 0;
    }
}

}  // namespace

bool SelectCodePage(int codePage)
{
    if (codePage == kStartupCodePage) codePage = kSingleByteCodePage;
    if (codePage != kSingleByteCodePage && !IsDoubleByteCodePage(codePage) &&
        !IsSingleByteCodePage(codePage)) {
        return false;
    }
    g_codePage.store(codePage, std::memory_order_relaxed);
    return true;
}

bool IsLeadByte(unsigned char byte) { return CodePage().IsLead(byte); }

// Without lead bytes the run-time searches like strchr and strrchr, which
// look at the low byte of character only.
char* FindCharacter(const char* text, unsigned int character)
{
    const CodePage page;
    if (!page.IsDoubleByte()) return const_cast<char*>(std::strchr(text, character & 0xFF));
    const unsigned char* p = Bytes(text);
    for (; *p != '\0'; ++p) {
        if (page.IsLead(*p)) {
            if (p[1] == '\0') return nullptr;
            if (character == (static_cast<unsigned int>(p[0]) << 8 | p[1])) return Chars(p);
            ++p;
        } else if (character == *p) {
            return Chars(p);
        }
    }
    return character == 0 ? Chars(p) : nullptr;
}

char* FindLastCharacter(const char* text, unsigned int character)
{
    const CodePage page;
    if (!page.IsDoubleByte()) return const_cast<char*>(std::strrchr(text, character & 0xFF));
    const unsigned char* found = nullptr;
    for (const unsigned char* p = Bytes(text);; ++p) {
        if (page.IsLead(*p)) {
            // As the run-time does: the match so far, else the terminator.
            if (p[1] == '\0') return Chars(found != nullptr ? found : p + 1);
            if (character == (static_cast<unsigned int>(p[0]) << 8 | p[1])) found = p;
            ++p;
        } else {
            if (character == *p) found = p;
            if (*p == '\0') return Chars(found);
        }
    }
}

char* FindSubstring(const char* text, const char* part)
{
    if (*part == '\0') return const_cast<char*>(text);
    const CodePage page;
    // Without lead bytes every byte starts a character.
    if (!page.IsDoubleByte()) return const_cast<char*>(std::strstr(text, part));
    const size_t length = std::strlen(part);
    for (const unsigned char* p = Bytes(text); *p != '\0';) {
        if (std::strncmp(reinterpret_cast<const char*>(p), part, length) == 0) return Chars(p);
        if (page.IsLead(*p++) && *p != '\0') ++p;
    }
    return nullptr;
}

int CompareIgnoringCase(const char* a, const char* b) { return Compare(a, b, true); }

int CompareText(const char* a, const char* b) { return Compare(a, b, false); }

char* LowerCaseInPlace(char* text)
{
    const CodePage page;
    for (char* p = text; *p != '\0'; ++p) {
        if (page.IsLead(static_cast<unsigned char>(*p))) {
            if (*++p == '\0') break;
        } else if (*p >= 'A' && *p <= 'Z') {
            *p = static_cast<char>(*p - 'A' + 'a');
        }
    }
    return text;
}

char* CopyBytesBounded(char* destination, const char* source, size_t count)
{
    const CodePage page;
    size_t i = 0;
    while (i < count) {
        const char byte = source[i];
        if (page.IsLead(static_cast<unsigned char>(byte))) {
            // A lead byte without its trail byte would start a broken
            // character: the copy ends there instead.
            if (i + 1 == count || source[i + 1] == '\0') {
                destination[i++] = '\0';
                break;
            }
            destination[i] = byte;
            destination[i + 1] = source[i + 1];
            i += 2;
        } else {
            destination[i++] = byte;
            if (byte == '\0') break;
        }
    }
    std::memset(destination + i, 0, count - i);
    return destination;
}

}  // namespace Platform
}  // namespace Orvik
