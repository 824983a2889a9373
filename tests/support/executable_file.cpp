#include "executable_file.h"

#include <string_view>

namespace {

constexpr std::uint32_t kSectionAddress = 0x1000;
constexpr std::uint32_t kSectionOffset = 0x200;
constexpr std::uint16_t kVersionType = 16;
constexpr std::uint16_t kMenuType = 4;

class Buffer {
public:
    Buffer& U8(unsigned value) {
        m_bytes += static_cast<char>(value);
        return *this;
    }
    Buffer& U16(unsigned value) { return U8(value & 0xFF).U8(value >> 8 & 0xFF); }
    Buffer& U32(std::uint32_t value) { return U16(value & 0xFFFF).U16(value >> 16); }
    Buffer& Text(std::u16string_view text) {
        for (char16_t unit : text)
            U16(unit);
        return U16(0);
    }
    Buffer& Append(const std::string& bytes) {
        m_bytes += bytes;
        return *this;
    }
    Buffer& PadTo(std::size_t size) {
        m_bytes.resize(size);
        return *this;
    }
    Buffer& Align() { return PadTo((m_bytes.size() + 3) & ~std::size_t{3}); }
    std::size_t Size() const { return m_bytes.size(); }
    const std::string& Get() const { return m_bytes; }

private:
    std::string m_bytes;
};

// A block of a version resource: lengths, key, value, children, each on a boundary of four bytes.
std::string Block(std::u16string_view key, bool text, unsigned valueLength, const std::string& value,
                  const std::vector<std::string>& children) {
    Buffer body;
    body.U16(0).U16(valueLength).U16(text ? 1 : 0).Text(key).Align().Append(value);
    for (const std::string& child : children)
        body.Align().Append(child);
    std::string bytes = body.Get();
    bytes[0] = static_cast<char>(bytes.size() & 0xFF);
    bytes[1] = static_cast<char>(bytes.size() >> 8);
    return bytes;
}

// A directory with one numbered entry.
void Directory(Buffer& bytes, unsigned id, std::uint32_t target) {
    bytes.U32(0).U32(0).U32(0).U16(0).U16(1).U32(id).U32(target);
}

std::string Section(unsigned type, const std::string& resource) {
    Buffer bytes;
    Directory(bytes, type, 0x80000000u | 24);
    Directory(bytes, 1, 0x80000000u | 48);
    Directory(bytes, 0x0409, 72);
    bytes.U32(kSectionAddress + 88).U32(static_cast<std::uint32_t>(resource.size())).U32(0).U32(0);
    return bytes.Append(resource).Get();
}

std::string Executable(const std::string& section, bool wide) {
    const auto size = static_cast<std::uint32_t>((section.size() + 0x1FF) & ~std::size_t{0x1FF});
    Buffer file;
    file.U16(0x5A4D).PadTo(0x3C).U32(0x40);
    file.U32(0x00004550).U16(wide ? 0x8664 : 0x014C).U16(section.empty() ? 0 : 1).U32(0).U32(0).U32(0);
    file.U16(wide ? 240 : 224).U16(0x2102);
    const std::size_t optional = file.Size();
    file.U16(wide ? 0x20B : 0x10B).U8(14).U8(0).U32(0).U32(size).U32(0).U32(0).U32(0x1000);
    if (wide)
        file.U32(0x10000000).U32(0);
    else
        file.U32(0x1000).U32(0x10000000);
    file.U32(0x1000).U32(0x200).U16(4).U16(0).U16(0).U16(0).U16(4).U16(0).U32(0);
    file.U32(kSectionAddress + ((size + 0xFFF) & ~0xFFFu)).U32(kSectionOffset).U32(0).U16(2).U16(0);
    for (int i = 0; i < (wide ? 8 : 4); ++i)
        file.U32(0x1000);
    file.U32(0).U32(16).U32(0).U32(0).U32(0).U32(0);
    file.U32(section.empty() ? 0 : kSectionAddress).U32(static_cast<std::uint32_t>(section.size()));
    file.PadTo(optional + (wide ? 240 : 224));
    if (section.empty())
        return file.PadTo(kSectionOffset).Get();
    file.Append(std::string(".rsrc\0\0\0", 8)).U32(static_cast<std::uint32_t>(section.size()));
    file.U32(kSectionAddress).U32(size).U32(kSectionOffset).U32(0).U32(0).U32(0).U32(0x40000040);
    return file.PadTo(kSectionOffset).Append(section).PadTo(kSectionOffset + size).Get();
}

} // namespace

std::string ExecutableFile::Resource() const {
    const auto version = [](Buffer& bytes, const std::array<std::uint16_t, 4>& parts) {
        bytes.U16(parts[1]).U16(parts[0]).U16(parts[3]).U16(parts[2]);
    };
    Buffer fixed;
    fixed.U32(0xFEEF04BD).U32(0x00010000);
    version(fixed, fileVersion);
    version(fixed, productVersion);
    fixed.U32(0x3F).U32(flags).U32(4).U32(2).U32(0).U32(0).U32(0);
    std::vector<std::string> entries;
    for (const auto& [key, value] : strings) {
        Buffer text;
        text.Text(value);
        entries.push_back(Block(key, true, static_cast<unsigned>(value.size() + 1), text.Get(), {}));
    }
    std::vector<std::string> children;
    if (!strings.empty())
        children.push_back(Block(u"StringFileInfo", true, 0, "", {Block(table, true, 0, "", entries)}));
    if (!translations.empty()) {
        Buffer pairs;
        for (const auto& [language, codePage] : translations)
            pairs.U16(language).U16(codePage);
        children.push_back(
            Block(u"VarFileInfo", true, 0, "",
                  {Block(u"Translation", false, static_cast<unsigned>(pairs.Size()), pairs.Get(), {})}));
    }
    return Block(u"VS_VERSION_INFO", false, static_cast<unsigned>(fixed.Size()), fixed.Get(), children);
}

std::string ExecutableFile::Bytes(bool wide) const {
    return Executable(Section(kVersionType, Resource()), wide);
}

std::string ExecutableFile::BytesWith(const std::string& resource) {
    return Executable(Section(kVersionType, resource), false);
}

std::string ExecutableFile::BytesWithoutResources() {
    return Executable("", false);
}

std::string ExecutableFile::BytesWithoutVersion() {
    return Executable(Section(kMenuType, "menu"), false);
}
