// A small application: it keeps a list of numbers in a record file and reads it back.
#include <afxwin.h>
#include <mvlib62.h>

#include <cstdio>

namespace {

CWinApp theApp;

constexpr unsigned long ID_NUMBER = 7;

int Check(bool good, const char* what) {
    if (!good)
        std::printf("wrong: %s\n", what);
    return good ? 0 : 1;
}

int WriteNumbers(const wchar_t* path, const TLlista& numbers) {
    TSerializer* file = TSerializer::Open(path, 1, 0);
    if (!file)
        return Check(false, "the file opens for writing");
    int wrong = Check(file->CreateHeader(1, 2, 3, 4) == 0, "the header is written");
    for (int i = 0; i < numbers.Cnt(); ++i) {
        int value = static_cast<TInt*>(numbers[i])->Get();
        wrong += Check(file->WriteRecord(&value, sizeof value, ID_NUMBER) == 0, "a record is written");
    }
    TSerializer::Close(file);
    return wrong;
}

int ReadNumbers(const wchar_t* path, TLlista& numbers) {
    TSerializer* file = TSerializer::Open(path, 0, 0);
    if (!file)
        return Check(false, "the file opens for reading");
    short w[4] = {};
    int wrong = Check(file->GetHeader(w[0], w[1], w[2], w[3]) == 0 && w[3] == 4, "the header is read");
    SER_RECORDHEADER record;
    TIndicadorEstat indicator;
    while (file->NextRecord(record, -1, &indicator)) {
        int value = 0;
        wrong += Check(record.dwId == ID_NUMBER && record.dwLongitud == sizeof value, "a record is a number");
        wrong += Check(file->ReadRecord(&value, sizeof value, &indicator) == 1, "a payload is read");
        numbers.Afegir(new TInt(value));
    }
    TSerializer::Close(file);
    return wrong;
}

} // namespace

int main(int argc, char** argv) {
    CString path;
    path.Format(L"%hs/numbers.rec", argc > 1 ? argv[1] : ".");
    TLlista written, read;
    for (int value : {3, 1, 4, 1, 5})
        written.Afegir(new TInt(value));
    int wrong = WriteNumbers(path, written) + ReadNumbers(path, read);
    wrong += Check(read.Cnt() == written.Cnt(), "as many numbers come back");
    for (int i = 0; i < read.Cnt() && i < written.Cnt(); ++i)
        wrong += Check(read[i]->Iguals(written[i]) != 0, "each number comes back");
    std::printf("%d numbers, %d wrong\n", read.Cnt(), wrong);
    return wrong == 0 ? 0 : 1;
}
