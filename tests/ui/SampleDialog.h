// A small dialog with what the helpers are for: a field of a length, a button that opens the menu of units,
// an owner-drawn list.
#pragma once

#include "afxwin.h"

#include <vector>

class SampleDialog : public CDialog {
public:
    enum { Length = 1001, Units = 1002, Jobs = 1003 };

    explicit SampleDialog(double points);
    // The template, in memory.
    LPCDLGTEMPLATEW Template() const { return reinterpret_cast<LPCDLGTEMPLATEW>(m_template.data()); }
    INT_PTR DoModal() override;

    double m_dLength;

protected:
    void DoDataExchange(CDataExchange* pDX) override;
    BOOL OnInitDialog() override;
    BOOL OnCommand(WPARAM wParam, LPARAM lParam) override;
    LRESULT WindowProc(UINT message, WPARAM wParam, LPARAM lParam) override;

private:
    std::vector<WORD> m_template;
};
