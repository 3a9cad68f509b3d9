// Reads a module file's import and export directories. Every offset comes
// from the file, so each is checked against the file's size before it is
// used.

#include "platform/win32/pe_tables.h"

#include <windows.h>

#include <cstring>

namespace Orvik {
namespace Platform {

namespace {

// Module files larger than this are not examined.
constexpr LONGLONG kMaxImageFile = 256 << 20;
// Guards against a table without its terminating entry, or a count read
// from a damaged file.
constexpr size_t kMaxImportedModules = 4096;
constexpr size_t kMaxProceduresPerModule = 65536;

class Image {
public:
    // Read through kernel32 rather than a file stream: streams would bring
    // the C++ run-time's locale machinery into every module.
    bool Load(const char* path)
    {
        const HANDLE file = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                        nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE) return false;
        LARGE_INTEGER size = {};
        bool read = GetFileSizeEx(file, &size) && size.QuadPart > 0 && size.QuadPart <= kMaxImageFile;
        if (read) {
            bytes_.resize(static_cast<size_t>(size.QuadPart));
            DWORD got = 0;
            read = ReadFile(file, bytes_.data(), static_cast<DWORD>(bytes_.size()), &got, nullptr) &&
                   got == bytes_.size();
        }
        CloseHandle(file);
        return read;
    }

    // Copies a structure found at offset; false when it does not lie whole
    // inside the file.
    template <class T>
    bool Read(size_t offset, T* value) const
    {
        if (offset > bytes_.size() || bytes_.size() - offset < sizeof(T)) return false;
        std::memcpy(value, bytes_.data() + offset, sizeof(T));
        return true;
    }

    // The terminated text at offset, empty when it runs off the file.
    std::string Text(size_t offset) const
    {
        if (offset >= bytes_.size()) return std::string();
        const char* start = bytes_.data() + offset;
        const void* end = std::memchr(start, '\0', bytes_.size() - offset);
        return end != nullptr ? std::string(start, static_cast<const char*>(end)) : std::string();
    }

    // The file offset of a relative virtual address, through the section
    // that holds it; false when none does.
    bool Offset(uint32_t rva, size_t* offset) const
    {
        for (const IMAGE_SECTION_HEADER& section : sections_) {
            const uint32_t extent = section.Misc.VirtualSize > section.SizeOfRawData ? section.Misc.VirtualSize
                                                                                     : section.SizeOfRawData;
            if (rva >= section.VirtualAddress && rva - section.VirtualAddress < extent) {
                *offset = size_t{section.PointerToRawData} + (rva - section.VirtualAddress);
                return *offset < bytes_.size();
            }
        }
        return false;
    }

    // Reads the headers and finds one data directory; false for anything
    // that is no image.
    bool ParseHeaders(int entry, uint32_t* directoryRva, bool* wide)
    {
        IMAGE_DOS_HEADER dos;
        if (!Read(0, &dos) || dos.e_magic != IMAGE_DOS_SIGNATURE || dos.e_lfanew < 0) return false;
        const size_t nt = static_cast<size_t>(dos.e_lfanew);
        DWORD signature = 0;
        IMAGE_FILE_HEADER header;
        WORD magic = 0;
        if (!Read(nt, &signature) || signature != IMAGE_NT_SIGNATURE) return false;
        if (!Read(nt + sizeof signature, &header)) return false;
        const size_t optional = nt + sizeof signature + sizeof header;
        if (!Read(optional, &magic)) return false;
        IMAGE_DATA_DIRECTORY directory{};
        if (magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC) {
            IMAGE_OPTIONAL_HEADER64 body;
            if (!Read(optional, &body) || body.NumberOfRvaAndSizes <= static_cast<DWORD>(entry)) return false;
            directory = body.DataDirectory[entry];
            *wide = true;
        } else if (magic == IMAGE_NT_OPTIONAL_HDR32_MAGIC) {
            IMAGE_OPTIONAL_HEADER32 body;
            if (!Read(optional, &body) || body.NumberOfRvaAndSizes <= static_cast<DWORD>(entry)) return false;
            directory = body.DataDirectory[entry];
            *wide = false;
        } else {
            return false;
        }
        const size_t sectionTable = optional + header.SizeOfOptionalHeader;
        for (WORD i = 0; i < header.NumberOfSections; ++i) {
            IMAGE_SECTION_HEADER section;
            if (!Read(sectionTable + i * sizeof section, &section)) return false;
            sections_.push_back(section);
        }
        *directoryRva = directory.VirtualAddress;
        return true;
    }

private:
    std::vector<char> bytes_;
    std::vector<IMAGE_SECTION_HEADER> sections_;
};

// The names imported through one descriptor's lookup table.
template <class Thunk>
void ReadProcedures(const Image& image, uint32_t tableRva, Thunk ordinalFlag, std::vector<std::string>* names)
{
    size_t offset = 0;
    if (!image.Offset(tableRva, &offset)) return;
    for (size_t i = 0; i < kMaxProceduresPerModule; ++i) {
        Thunk thunk = 0;
        if (!image.Read(offset + i * sizeof thunk, &thunk) || thunk == 0) return;
        if ((thunk & ordinalFlag) != 0) continue;
        size_t byName = 0;
        // The name follows a two-byte hint.
        if (image.Offset(static_cast<uint32_t>(thunk), &byName)) names->push_back(image.Text(byName + 2));
    }
}

}  // namespace

bool ReadImports(const char* path, std::vector<ImportedModule>* imports)
{
    Image image;
    uint32_t importRva = 0;
    bool wide = false;
    if (path == nullptr || !image.Load(path) || !image.ParseHeaders(IMAGE_DIRECTORY_ENTRY_IMPORT, &importRva, &wide)) {
        return false;
    }
    if (importRva == 0) return true;
    size_t offset = 0;
    if (!image.Offset(importRva, &offset)) return false;
    for (size_t i = 0; i < kMaxImportedModules; ++i) {
        IMAGE_IMPORT_DESCRIPTOR descriptor;
        if (!image.Read(offset + i * sizeof descriptor, &descriptor)) return false;
        if (descriptor.Name == 0 && descriptor.FirstThunk == 0) return true;
        size_t nameOffset = 0;
        if (!image.Offset(descriptor.Name, &nameOffset)) continue;
        ImportedModule imported{image.Text(nameOffset), {}};
        const uint32_t table = descriptor.OriginalFirstThunk != 0 ? descriptor.OriginalFirstThunk
                                                                  : descriptor.FirstThunk;
        if (wide) {
            ReadProcedures<ULONGLONG>(image, table, IMAGE_ORDINAL_FLAG64, &imported.procedures);
        } else {
            ReadProcedures<DWORD>(image, table, IMAGE_ORDINAL_FLAG32, &imported.procedures);
        }
        imports->push_back(std::move(imported));
    }
    return true;
}

bool ReadExports(const char* path, std::vector<std::string>* names)
{
    Image image;
    uint32_t exportRva = 0;
    bool wide = false;
    if (path == nullptr || !image.Load(path) || !image.ParseHeaders(IMAGE_DIRECTORY_ENTRY_EXPORT, &exportRva, &wide)) {
        return false;
    }
    if (exportRva == 0) return true;
    size_t offset = 0;
    IMAGE_EXPORT_DIRECTORY directory;
    if (!image.Offset(exportRva, &offset) || !image.Read(offset, &directory)) return false;
    size_t table = 0;
    if (directory.NumberOfNames == 0) return true;
    if (directory.NumberOfNames > kMaxProceduresPerModule || !image.Offset(directory.AddressOfNames, &table)) {
        return false;
    }
    for (DWORD i = 0; i < directory.NumberOfNames; ++i) {
        DWORD nameRva = 0;
        size_t name = 0;
        if (!image.Read(table + i * sizeof nameRva, &nameRva)) return false;
        if (image.Offset(nameRva, &name)) names->push_back(image.Text(name));
    }
    return true;
}

}  // namespace Platform
}  // namespace Orvik
