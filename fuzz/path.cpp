// Paths taken apart and put together again. The input is up to five texts, each ended by a zero byte.
#include <CPathString.h>

#include "recipe.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

void Require(bool holds) {
    if (!holds)
        std::abort();
}

bool EndsInBackslash(const CString& text) {
    return !text.IsEmpty() && text[text.GetLength() - 1] == L'\\';
}

bool Fits(const CPathString& path) {
    // Parts of 256 characters are taken, so a path this short never has one that is too long.
    return path.GetLength() <= 256;
}

void TakeApart(const CPathString& path) {
    CString drive, folder, name, extension;
    path.SplitPath(&drive, &folder, &name, &extension);
    const CString whole = drive + folder + name + extension;
    Require(whole == path || (whole.IsEmpty() && !Fits(path)));
    Require(path.Substituir(nullptr, nullptr, nullptr, nullptr) == whole);
    Require(CPathString(drive, folder, name, extension) == whole);
    Require(path.GetUnitat() == drive && path.GetNomFitxer() == name);
    Require(path.GetFitxer() == name + extension);
    Require(path.GetExtensio(1) == (extension.IsEmpty() ? CString(L".") : extension));
    Require(path.GetExtensio(0) == extension.Mid(1));
    Require(EndsInBackslash(path.GetDirectori(1)) && EndsInBackslash(path.GetRuta(1)));
    const CString ruta = path.GetRuta(0);
    Require(ruta == drive + folder || ruta + L"\\" == drive + folder);
    if (path.IsRoot())
        Require(path.GetLength() <= 3 && !path.IsEmpty());
}

void Change(const CPathString& path, const CString& argument) {
    try {
        const CPathString moved = path.Cd(argument);
        Require(!Fits(path) || !Fits(moved) || EndsInBackslash(moved.GetDirectori(0) + L"\\"));
    } catch (COleException* e) {
        e->Delete();
        // Only a path without a folder refuses, and only what does not replace the folder.
        CString folder;
        path.SplitPath(nullptr, &folder, nullptr, nullptr);
        Require(folder.IsEmpty() && (argument.IsEmpty() || argument[0] != L'\\'));
    }
    CPathString::FullPath(path);
}

void Join(const CString& name, const CString& folder) {
    const CString cleanName = AfxNetejarPath(name);
    const CString cleanFolder = AfxNetejarPath(folder);
    const CPathString path(name.GetString(), folder.GetString());
    Require(path.GetLength() >= cleanName.GetLength() + cleanFolder.GetLength());
    Require(path.GetLength() <= cleanName.GetLength() + cleanFolder.GetLength() + 1);
    Require(path.Right(cleanName.GetLength()) == cleanName);
    Require(path.Left(cleanFolder.GetLength()) == cleanFolder);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize) {
    const std::vector<std::uint8_t> bytes = BytesOfRecipe(input, inputSize);
    std::vector<CString> texts(1);
    for (std::size_t i = 0; i < bytes.size() && i < 4096; ++i) {
        if (bytes[i])
            texts.back() += static_cast<wchar_t>(bytes[i]);
        else if (texts.size() < 5)
            texts.emplace_back();
        else
            break;
    }
    texts.resize(5);
    const CPathString path(texts[0]);
    TakeApart(path);
    Change(path, texts[1]);
    Join(texts[0], texts[1]);
    const CPathString joined(texts[1], texts[2], texts[3], texts[4]);
    TakeApart(joined);
    TakeApart(path.Substituir(texts[1], texts[2], texts[3], texts[4]));
    return 0;
}
