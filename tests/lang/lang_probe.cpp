// Writes the library's texts as it finds them to the file named by the argument, in UTF-8.
#include <Idioma.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    std::FILE* file = std::fopen(argv[1], "wb");
    if (!file)
        return 1;
    const CString text = AfxLoadString(18001) + L"|" + AfxLoadString(20350);
    char utf8[1024] = "";
    ::WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8, sizeof utf8, nullptr, nullptr);
    std::fputs(utf8, file);
    return std::fclose(file) == 0 ? 0 : 1;
}
