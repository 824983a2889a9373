#include "SampleDialog.h"

#include <Dibuix.h>
#include <Unitats.h>
#include <UnitatsControls.h>

#include <cwchar>
#include <memory>

namespace {

// Writes a dialog template: its words, texts, and records on boundaries of four bytes.
class TemplateWriter {
public:
    void Word(unsigned value) { words.push_back(static_cast<WORD>(value)); }
    void Double(DWORD value) {
        Word(LOWORD(value));
        Word(HIWORD(value));
    }
    void Text(const wchar_t* text) {
        do
            Word(*text);
        while (*text++);
    }
    void Align() {
        if (words.size() % 2)
            Word(0);
    }
    void Control(DWORD style, int x, int y, int width, int height, WORD id, WORD type, const wchar_t* text) {
        Align();
        Double(style | WS_CHILD | WS_VISIBLE);
        Double(0);
        for (int value : {x, y, width, height})
            Word(static_cast<unsigned>(value));
        Word(id);
        Word(0xFFFF);
        Word(type);
        Text(text);
        Word(0);
    }
    std::vector<WORD> words;
};

constexpr WORD buttonClass = 0x80;
constexpr WORD editClass = 0x81;
constexpr WORD staticClass = 0x82;
constexpr WORD listClass = 0x83;

} // namespace

SampleDialog::SampleDialog(double points)
    : m_dLength(points) {
    TemplateWriter writer;
    writer.Double(WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_SETFONT);
    writer.Double(0);
    writer.Word(6);
    for (int value : {10, 10, 160, 96})
        writer.Word(static_cast<unsigned>(value));
    writer.Word(0); // no menu
    writer.Word(0); // the usual class
    writer.Text(L"Page");
    writer.Word(8);
    writer.Text(L"MS Shell Dlg");
    writer.Control(SS_LEFT, 8, 10, 34, 10, 0xFFFF, staticClass, L"&Length:");
    writer.Control(WS_BORDER | WS_TABSTOP | ES_AUTOHSCROLL, 44, 8, 60, 13, Length, editClass, L"");
    writer.Control(BS_PUSHBUTTON | WS_TABSTOP, 110, 8, 42, 13, Units, buttonClass, L"&Units...");
    writer.Control(WS_BORDER | WS_TABSTOP | WS_VSCROLL | LBS_OWNERDRAWFIXED | LBS_HASSTRINGS | LBS_NOTIFY, 8,
                   28, 144, 44, Jobs, listClass, L"");
    writer.Control(BS_DEFPUSHBUTTON | WS_TABSTOP, 60, 78, 44, 14, IDOK, buttonClass, L"OK");
    writer.Control(BS_PUSHBUTTON | WS_TABSTOP, 108, 78, 44, 14, IDCANCEL, buttonClass, L"Cancel");
    m_template = writer.words;
}

INT_PTR SampleDialog::DoModal() {
    InitModalIndirect(Template());
    return CDialog::DoModal();
}

void SampleDialog::DoDataExchange(CDataExchange* pDX) {
    CDialog::DoDataExchange(pDX);
    DDX_Unitats(pDX, Length, m_dLength);
}

BOOL SampleDialog::OnInitDialog() {
    CWnd* const list = GetDlgItem(Jobs);
    for (const wchar_t* job : {L"Cover, 2 pages", L"Inside, 64 pages", L"Poster", L"Labels"})
        list->SendMessage(LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(job));
    list->SendMessage(LB_SETCURSEL, 1);
    return CDialog::OnInitDialog();
}

BOOL SampleDialog::OnCommand(WPARAM wParam, LPARAM lParam) {
    const UINT command = LOWORD(wParam);
    if (command == Units) {
        const std::unique_ptr<CMenu> menu(unitsMenu(nullptr, 1));
        const CDlgItemRect button(this, Units);
        POINT corner = {button.left, button.bottom};
        ClientToScreen(&corner);
        menu->TrackPopupMenu(TPM_LEFTALIGN, corner.x, corner.y, this);
        return TRUE;
    }
    if (command >= ID_UNITATS_MENU && command < ID_UNITATS_MENU + 4) {
        UpdateData(TRUE);
        AfxSetUnitatsActives(static_cast<TipusUnitats>(command - ID_UNITATS_MENU));
        UpdateData(FALSE);
        return TRUE;
    }
    return CDialog::OnCommand(wParam, lParam);
}

LRESULT SampleDialog::WindowProc(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_DRAWITEM && wParam == Jobs) {
        CDrawItemHelper item(reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
        item.PintarFons(nullptr);
        item.PintarText(item.GetTextItem(), nullptr, DT_SINGLELINE | DT_VCENTER, DEFAULT_GUI_FONT);
        item.PintarFocus(1, nullptr);
        return TRUE;
    }
    return CDialog::WindowProc(message, wParam, lParam);
}
