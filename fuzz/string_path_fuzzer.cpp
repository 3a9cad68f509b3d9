// The bounded string and path helpers and the number reader on any text,
// in single-byte and double-byte code pages. Destinations are allocated at
// exactly their size and start with text that ends within it; after every
// operation they still do, a refused copy or append leaves them as they
// were, and the number reader agrees with strtol wherever that fits.
//
// Input: an operation, a code page, a destination size and a count, then
// three texts separated by zero bytes: two arguments and the destination's
// first content.

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>

#include "platform/multibyte.h"
#include "util/number_text.h"
#include "orvik/util/path_rules.h"
#include "orvik/util/string_rules.h"

namespace {

namespace Rules = Orvik::Rules;

void Check(bool condition)
{
    if (!condition) std::abort();
}

// Takes the text up to the next zero byte, or the rest.
std::string TakeText(const uint8_t*& data, size_t& size)
{
    const auto* end = static_cast<const uint8_t*>(std::memchr(data, 0, size));
    const size_t length = end != nullptr ? static_cast<size_t>(end - data) : size;
    std::string text(reinterpret_cast<const char*>(data), length);
    const size_t taken = end != nullptr ? length + 1 : length;
    data += taken;
    size -= taken;
    return text;
}

// A destination of exactly size bytes holding the start of content.
class Destination {
public:
    Destination(int size, const std::string& content) : size_(size), bytes_(new char[static_cast<size_t>(size)])
    {
        if (size == 0) return;
        const size_t length = std::min(content.size(), static_cast<size_t>(size) - 1);
        std::memcpy(bytes_.get(), content.data(), length);
        bytes_[length] = '\0';
        before_ = std::string(bytes_.get(), length);
    }
    char* get() { return bytes_.get(); }
    std::string text() const { return bytes_.get(); }
    const std::string& before() const { return before_; }
    // Still a text that ends within the destination.
    bool Terminated() const
    {
        return size_ == 0 || std::memchr(bytes_.get(), 0, static_cast<size_t>(size_)) != nullptr;
    }

private:
    int size_;
    std::unique_ptr<char[]> bytes_;
    std::string before_;
};

// strtol's answer brought into 32 bits the way the number reader promises.
int32_t ClampedStrtol(const char* text)
{
    errno = 0;
    const long long value = std::strtoll(text, nullptr, 10);
    if (value > INT32_MAX) return INT32_MAX;
    if (value < INT32_MIN) return INT32_MIN;
    return static_cast<int32_t>(value);
}

void RunStringOperation(uint8_t operation, int count, const std::string& a, const std::string& b, Destination& dst,
                        int size)
{
    switch (operation % 8) {
    case 0:
        if (Rules::CopyString(dst.get(), size, a.c_str()) == 1) {
            Check(dst.text() == a);
        } else {
            Check(size == 0 || dst.text() == dst.before());
        }
        break;
    case 1:
        if (Rules::AppendString(dst.get(), size, a.c_str()) == 1) {
            Check(dst.text() == dst.before() + a);
        } else {
            Check(size == 0 || dst.text() == dst.before());
        }
        break;
    case 2:
        if (Rules::CopyStringN(dst.get(), size, a.c_str(), count) == 1) {
            Check(a.compare(0, dst.text().size(), dst.text()) == 0);
        }
        break;
    case 3:
        if (Rules::FormatString(dst.get(), size, count & 1, "%s|%s", a.c_str(), b.c_str()) == 1 && (count & 1) == 0) {
            Check(dst.text() == a + "|" + b);
        }
        break;
    case 4:
        Rules::TrimSpaces(a.c_str(), dst.get(), size);
        break;
    case 5:
        Rules::TrimBlanks(a.c_str(), dst.get(), size);
        break;
    case 6:
        Rules::IsBlankString(a.c_str());
        Rules::IsBlank(a.c_str());
        break;
    case 7:
        Check(Orvik::ReadLeadingNumber(a.c_str()) == ClampedStrtol(a.c_str()));
        break;
    }
}

void RunPathOperation(uint8_t operation, const std::string& a, const std::string& b, Destination& dst, int size)
{
    switch (operation % 8) {
    case 0:
        Rules::JoinToBaseDirectory(b.c_str(), a.c_str(), dst.get(), size);
        break;
    case 1:
        Rules::MakeAbsolutePath(b.c_str(), a.c_str(), dst.get(), size);
        break;
    case 2:
        Rules::JoinToProfileDirectory(a.c_str(), b.c_str(), dst.get(), size);
        break;
    case 3:
        Rules::JoinDirectoryName(a.c_str(), b.c_str(), dst.get(), size);
        break;
    case 4:
        Rules::JoinPath(a.c_str(), b.c_str(), dst.get(), size);
        break;
    case 5:
        Rules::GetFileNamePart(a.c_str(), dst.get(), size);
        break;
    case 6:
        Rules::GetParentDirectory(b.c_str(), a.c_str(), dst.get(), size);
        break;
    case 7: {
        Rules::IsRelativePath(a.c_str());
        Rules::IsValidPathChars(a.c_str());
        const char* separator = Rules::GetLastSeparator(a.c_str());
        Check(separator == nullptr || (separator >= a.c_str() && separator < a.c_str() + a.size()));
        break;
    }
    }
}

constexpr int kCodePages[] = {Orvik::Platform::kSingleByteCodePage, 932, 936, 949, 950};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 4) return 0;
    const uint8_t operation = data[0];
    const int codePage = kCodePages[data[1] % std::size(kCodePages)];
    // Up to 300 bytes: paths live in 260.
    const int dstSize = (data[2] | (data[3] & 1) << 8) % 301;
    const int count = data[3] >> 1;
    data += 4;
    size -= 4;
    const std::string a = TakeText(data, size);
    const std::string b = TakeText(data, size);
    const std::string initial = TakeText(data, size);

    Orvik::Platform::SelectCodePage(codePage);
    Destination dst(dstSize, initial);
    if ((operation & 0x80) == 0) {
        RunStringOperation(operation, count, a, b, dst, dstSize);
    } else {
        RunPathOperation(operation, a, b, dst, dstSize);
    }
    Check(dst.Terminated());
    return 0;
}
