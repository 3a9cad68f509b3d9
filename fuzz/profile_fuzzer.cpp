// The profile reader on any file and any query: the answer always ends
// within the buffer, and nothing outside it is read or written.
//
// Input: section, key and default, each ending at a line feed; one byte
// that chooses the buffer's size and which names are null; the file's text.

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "fuzz/fuzz_files.h"
#include "platform/profile.h"

namespace {

// Takes the text up to the next line feed, or the rest.
std::string TakeLine(const uint8_t*& data, size_t& size)
{
    const auto* end = static_cast<const uint8_t*>(std::memchr(data, '\n', size));
    const size_t length = end != nullptr ? static_cast<size_t>(end - data) : size;
    std::string line(reinterpret_cast<const char*>(data), length);
    const size_t taken = end != nullptr ? length + 1 : length;
    data += taken;
    size -= taken;
    return line;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string section = TakeLine(data, size);
    const std::string key = TakeLine(data, size);
    const std::string defaultValue = TakeLine(data, size);
    const uint8_t choice = size > 0 ? *data : 0;
    if (size > 0) {
        ++data;
        --size;
    }
    const std::string file = Orvik::Fuzzing::WriteFuzzFile("profile.ini", data, size);

    // Exactly the buffer's size is allocated, so a write past it is caught.
    const uint32_t bufferSize = choice % 72;
    const std::unique_ptr<char[]> buffer(new char[bufferSize]);
    const uint32_t written = Orvik::Platform::ReadProfileValue(
        (choice & 0x80) != 0 ? nullptr : section.c_str(), key.c_str(),
        (choice & 0x40) != 0 ? nullptr : defaultValue.c_str(), buffer.get(), bufferSize, file.c_str());
    if (bufferSize == 0 ? written != 0 : written >= bufferSize || buffer[written] != '\0') std::abort();
    return 0;
}
