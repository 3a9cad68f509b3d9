#include "platform/multibyte.h"

#include <mbctype.h>
#include <mbstring.h>

#include <cstring>

namespace Orvik {
namespace Platform {
namespace {

const unsigned char* Bytes(const char* text) { return reinterpret_cast<const unsigned char*>(text); }
char* Chars(unsigned char* text) { return reinterpret_cast<char*>(text); }

}  // namespace

static_assert(kSingleByteCodePage == _MB_CP_SBCS && kStartupCodePage == _MB_CP_ANSI,
              "the portable values are the run-time's own");

bool SelectCodePage(int codePage) { return _setmbcp(codePage) == 0; }

bool IsLeadByte(unsigned char byte) { return _ismbblead(byte) != 0; }

char* FindCharacter(const char* text, unsigned int character)
{
    return Chars(_mbschr(Bytes(text), character));
}

char* FindLastCharacter(const char* text, unsigned int character)
{
    return Chars(_mbsrchr(Bytes(text), character));
}

// Wine's _mbsstr compares bytes only and finds a part that starts on a
// trail byte; stepping from character to character here gives the
// run-time's answer under every run-time.
char* FindSubstring(const char* text, const char* part)
{
    if (*part == '\0') return const_cast<char*>(text);
    const size_t length = std::strlen(part);
    for (const char* p = text; *p != '\0';) {
        if (std::strncmp(p, part, length) == 0) return const_cast<char*>(p);
        if (_ismbblead(static_cast<unsigned char>(*p++)) && *p != '\0') ++p;
    }
    return nullptr;
}

int CompareIgnoringCase(const char* a, const char* b) { return _mbsicmp(Bytes(a), Bytes(b)); }

int CompareText(const char* a, const char* b) { return _mbscmp(Bytes(a), Bytes(b)); }

char* LowerCaseInPlace(char* text)
{
    return Chars(_mbslwr(reinterpret_cast<unsigned char*>(text)));
}

char* CopyBytesBounded(char* destination, const char* source, size_t count)
{
    return Chars(_mbsnbcpy(reinterpret_cast<unsigned char*>(destination), Bytes(source), count));
}

}  // namespace Platform
}  // namespace Orvik
