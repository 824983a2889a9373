// INI files beside GLib's key files, inih and SimpleIni. Ours are UTF-16, the peers' are 8-bit with the same
// keys.
//
// Our readers look at every call whether the file has changed; the peers have to read it for that. "value"
// and "section" read a file that stays as it is, "first-read" one of two files in turn, so that none of them
// is the one that was read last.
#include "CFitxerINI.h"
#include "CMultiString.h"

#include "sink.h"

#include <benchmark/benchmark.h>
#include <glib.h>
#include <ini.h>
#define SI_NO_CONVERSION // texts are taken as they are
#include <SimpleIni.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int KEYS_PER_SECTION = 50;

void Check(bool good) {
    if (!good)
        std::abort();
}

std::string SectionName(int section) {
    return "Section " + std::to_string(section);
}
std::string KeyName(int key) {
    return "option" + std::to_string(key);
}

std::string Content(int keys, int file, const char* lineEnd) {
    std::string text;
    for (int i = 0; i < keys; ++i) {
        if (i % KEYS_PER_SECTION == 0)
            text.append(i ? lineEnd : "")
                .append("[")
                .append(SectionName(i / KEYS_PER_SECTION))
                .append("]")
                .append(lineEnd);
        text.append(KeyName(i))
            .append("=value number ")
            .append(std::to_string((i * 7919 + file) % 10007))
            .append(lineEnd);
    }
    return text;
}

void WriteFile(const std::string& path, const std::string& bytes) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    Check(file && std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size() && std::fclose(file) == 0);
}

// Two files for each side, with the same keys and other values.
class Files {
public:
    explicit Files(int keys) {
        for (int i = 0; i < 2; ++i) {
            std::string wideText = "\xFF\xFE";
            for (char unit : Content(keys, i, "\r\n")) {
                wideText += unit;
                wideText += '\0';
            }
            const std::string name = "/dev/shm/mvlib62-bench-" + std::to_string(getpid()) + "-" +
                                     std::to_string(keys) + "-" + std::to_string(i);
            peers[i] = name + ".conf";
            ours[i] = name + ".ini";
            WriteFile(peers[i], Content(keys, i, "\n"));
            WriteFile(ours[i], wideText);
            wide[i].assign(ours[i].begin(), ours[i].end());
        }
        section = SectionName(keys / KEYS_PER_SECTION / 2);
        key = KeyName(keys / KEYS_PER_SECTION / 2 * KEYS_PER_SECTION + KEYS_PER_SECTION / 4);
        wideSection.assign(section.begin(), section.end());
        wideKey.assign(key.begin(), key.end());
        // A file that was changed a moment ago is read anew every time, since it may change again unseen.
        usleep(100000);
    }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;
    ~Files() {
        for (int i = 0; i < 2; ++i) {
            unlink(peers[i].c_str());
            unlink(ours[i].c_str());
        }
    }

    std::string peers[2];
    std::string ours[2];
    std::wstring wide[2];
    std::string section;
    std::string key;
    std::wstring wideSection;
    std::wstring wideKey;
};

// ---- One value

void ReadOurs(const Files& files, int file) {
    const CString value =
        CFitxerINI(files.wide[file].c_str()).GetString(files.wideSection.c_str(), files.wideKey.c_str(), L"");
    Check(!value.IsEmpty());
    Keep(value);
}

void ReadGlib(const Files& files, int file) {
    GKeyFile* keys = g_key_file_new();
    Check(g_key_file_load_from_file(keys, files.peers[file].c_str(), G_KEY_FILE_NONE, nullptr));
    gchar* value = g_key_file_get_string(keys, files.section.c_str(), files.key.c_str(), nullptr);
    Check(value != nullptr);
    Keep(*value);
    g_free(value);
    g_key_file_free(keys);
}

struct Wanted {
    const Files& files;
    std::string value;
};

int TakeValue(void* user, const char* section, const char* key, const char* value) {
    auto* wanted = static_cast<Wanted*>(user);
    if (wanted->files.key == key && wanted->files.section == section)
        wanted->value = value;
    return 1;
}

void ReadInih(const Files& files, int file) {
    Wanted wanted{files, {}};
    Check(ini_parse(files.peers[file].c_str(), &TakeValue, &wanted) == 0 && !wanted.value.empty());
    Keep(wanted.value);
}

void ReadSimpleIni(const Files& files, int file) {
    CSimpleIniCaseA keys;
    Check(keys.LoadFile(files.peers[file].c_str()) == SI_OK);
    const char* value = keys.GetValue(files.section.c_str(), files.key.c_str());
    Check(value != nullptr);
    Keep(*value);
}

void Stat(const Files& files, int file) {
    struct stat status;
    Check(stat(files.ours[file].c_str(), &status) == 0);
    Keep(status);
}

// ---- A section

void SectionOurs(const Files& files, int file) {
    CMultiString lines;
    Check(CFitxerINI(files.wide[file].c_str()).GetSeccio(files.wideSection.c_str(), lines) == 1);
    Keep(lines);
}

void SectionGlib(const Files& files, int file) {
    GKeyFile* keys = g_key_file_new();
    Check(g_key_file_load_from_file(keys, files.peers[file].c_str(), G_KEY_FILE_NONE, nullptr));
    gchar** names = g_key_file_get_keys(keys, files.section.c_str(), nullptr, nullptr);
    Check(names != nullptr);
    for (gchar** name = names; *name; ++name) {
        gchar* value = g_key_file_get_string(keys, files.section.c_str(), *name, nullptr);
        Keep(*value);
        g_free(value);
    }
    g_strfreev(names);
    g_key_file_free(keys);
}

int TakeLine(void* user, const char* section, const char* key, const char* value) {
    auto* wanted = static_cast<Wanted*>(user);
    if (wanted->files.section == section)
        (((wanted->value += key) += '=') += value) += '\0';
    return 1;
}

void SectionInih(const Files& files, int file) {
    Wanted wanted{files, {}};
    Check(ini_parse(files.peers[file].c_str(), &TakeLine, &wanted) == 0 && !wanted.value.empty());
    Keep(wanted.value);
}

void SectionSimpleIni(const Files& files, int file) {
    CSimpleIniCaseA keys;
    Check(keys.LoadFile(files.peers[file].c_str()) == SI_OK);
    const auto* section = keys.GetSection(files.section.c_str());
    Check(section != nullptr);
    for (const auto& [name, value] : *section)
        Keep(*value);
}

// ---- Writing one value, another one each time

const char* NextValue(int turn) {
    return turn % 2 ? "another value" : "one value";
}

void WriteOurs(const Files& files, int turn) {
    CFitxerINI ini(files.wide[0].c_str());
    Check(ini.SetString(files.wideSection.c_str(), files.wideKey.c_str(),
                        turn % 2 ? L"another value" : L"one value") == 1);
}

void WriteGlib(const Files& files, int turn) {
    GKeyFile* keys = g_key_file_new();
    Check(g_key_file_load_from_file(keys, files.peers[0].c_str(), G_KEY_FILE_KEEP_COMMENTS, nullptr));
    g_key_file_set_string(keys, files.section.c_str(), files.key.c_str(), NextValue(turn));
    Check(g_key_file_save_to_file(keys, files.peers[0].c_str(), nullptr));
    g_key_file_free(keys);
}

void WriteSimpleIni(const Files& files, int turn) {
    CSimpleIniCaseA keys;
    Check(keys.LoadFile(files.peers[0].c_str()) == SI_OK);
    Check(keys.SetValue(files.section.c_str(), files.key.c_str(), NextValue(turn)) >= 0);
    Check(keys.SaveFile(files.peers[0].c_str()) == SI_OK);
}

// Our file read whole, and as many bytes put in its place under its name.
void Rewrite(const Files& files, int) {
    std::string bytes;
    std::FILE* file = std::fopen(files.ours[1].c_str(), "rb");
    struct stat status;
    Check(file && fstat(fileno(file), &status) == 0);
    bytes.resize(static_cast<std::size_t>(status.st_size));
    Check(std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size());
    std::fclose(file);
    const std::string temporary = files.ours[1] + ".new";
    WriteFile(temporary, bytes);
    Check(std::rename(temporary.c_str(), files.ours[1].c_str()) == 0);
}

// ----

// The work with file 0 or with both in turn.
template <void (*WORK)(const Files&, int), int FILES>
void Run(benchmark::State& state) {
    const Files files(static_cast<int>(state.range(0)));
    int turn = 0;
    for (auto _ : state)
        WORK(files, turn++ % FILES);
}

template <void (*WORK)(const Files&, int)>
void Add(const std::string& name, std::initializer_list<int> sizes, bool inTurn) {
    for (int size : sizes)
        benchmark::RegisterBenchmark(("ini/" + name).c_str(), inTurn ? &Run<WORK, 2> : &Run<WORK, 1>)
            ->Arg(size);
}

[[maybe_unused]] const bool registered = [] {
    const auto all = {20, 10000};
    Add<&ReadOurs>("value/ours", all, false);
    Add<&ReadGlib>("value/peer-glib", all, false);
    Add<&ReadInih>("value/peer-inih", all, false);
    Add<&ReadSimpleIni>("value/peer-simpleini", all, false);
    Add<&Stat>("value/limit-stat", all, false);
    Add<&SectionOurs>("section/ours", all, false);
    Add<&SectionGlib>("section/peer-glib", all, false);
    Add<&SectionInih>("section/peer-inih", all, false);
    Add<&SectionSimpleIni>("section/peer-simpleini", all, false);
    Add<&ReadOurs>("first-read/ours", all, true);
    Add<&ReadGlib>("first-read/peer-glib", all, true);
    Add<&ReadInih>("first-read/peer-inih", all, true);
    Add<&ReadSimpleIni>("first-read/peer-simpleini", all, true);
    Add<&WriteOurs>("write/ours", all, true);
    Add<&WriteGlib>("write/peer-glib", all, true);
    Add<&WriteSimpleIni>("write/peer-simpleini", all, true);
    Add<&Rewrite>("write/limit-rewrite", all, true);
    return true;
}();

} // namespace
