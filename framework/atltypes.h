// CSize, CPoint, CRect: the system's plain records with operations. Included by afxwin.h.
#pragma once

#include "win32.h"

class CSize : public tagSIZE {
public:
    CSize() noexcept {
        cx = 0;
        cy = 0;
    }
    CSize(int initCX, int initCY) noexcept {
        cx = initCX;
        cy = initCY;
    }
    CSize(SIZE initSize) noexcept
        : tagSIZE(initSize) {}

    bool operator==(const SIZE& size) const noexcept { return cx == size.cx && cy == size.cy; }
    CSize operator+(SIZE size) const noexcept { return CSize(cx + size.cx, cy + size.cy); }
    CSize operator-(SIZE size) const noexcept { return CSize(cx - size.cx, cy - size.cy); }
    CSize operator-() const noexcept { return CSize(-cx, -cy); }
};

class CPoint : public tagPOINT {
public:
    CPoint() noexcept {
        x = 0;
        y = 0;
    }
    CPoint(int initX, int initY) noexcept {
        x = initX;
        y = initY;
    }
    CPoint(POINT initPt) noexcept
        : tagPOINT(initPt) {}

    void Offset(int xOffset, int yOffset) noexcept {
        x += xOffset;
        y += yOffset;
    }
    bool operator==(const POINT& point) const noexcept { return x == point.x && y == point.y; }
    CPoint operator+(SIZE size) const noexcept { return CPoint(x + size.cx, y + size.cy); }
    CPoint operator-(SIZE size) const noexcept { return CPoint(x - size.cx, y - size.cy); }
    CSize operator-(POINT point) const noexcept { return CSize(x - point.x, y - point.y); }
};

// A point inside includes the left and the top edge, not the others.
class CRect : public tagRECT {
public:
    CRect() noexcept { SetRectEmpty(); }
    CRect(int l, int t, int r, int b) noexcept { SetRect(l, t, r, b); }
    CRect(const RECT& srcRect) noexcept
        : tagRECT(srcRect) {}
    CRect(POINT point, SIZE size) noexcept {
        SetRect(point.x, point.y, point.x + size.cx, point.y + size.cy);
    }

    operator LPRECT() noexcept { return this; }
    operator LPCRECT() const noexcept { return this; }

    int Width() const noexcept { return right - left; }
    int Height() const noexcept { return bottom - top; }
    CSize Size() const noexcept { return CSize(Width(), Height()); }
    CPoint TopLeft() const noexcept { return CPoint(left, top); }
    CPoint BottomRight() const noexcept { return CPoint(right, bottom); }
    CPoint CenterPoint() const noexcept { return CPoint((left + right) / 2, (top + bottom) / 2); }
    bool IsRectEmpty() const noexcept { return left >= right || top >= bottom; }
    bool IsRectNull() const noexcept { return left == 0 && top == 0 && right == 0 && bottom == 0; }
    bool PtInRect(POINT point) const noexcept {
        return point.x >= left && point.x < right && point.y >= top && point.y < bottom;
    }

    void SetRect(int x1, int y1, int x2, int y2) noexcept {
        left = x1;
        top = y1;
        right = x2;
        bottom = y2;
    }
    void SetRectEmpty() noexcept { SetRect(0, 0, 0, 0); }
    void OffsetRect(int x, int y) noexcept { SetRect(left + x, top + y, right + x, bottom + y); }
    void InflateRect(int x, int y) noexcept { SetRect(left - x, top - y, right + x, bottom + y); }
    void DeflateRect(int x, int y) noexcept { InflateRect(-x, -y); }
    void NormalizeRect() noexcept {
        SetRect(left < right ? left : right, top < bottom ? top : bottom, left < right ? right : left,
                top < bottom ? bottom : top);
    }
    bool operator==(const RECT& rect) const noexcept {
        return left == rect.left && top == rect.top && right == rect.right && bottom == rect.bottom;
    }
};
