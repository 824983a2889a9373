#include "TTaula.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "afx.h"
#include "items/Demolition.h"

// TTaulaBool has no record of its own.
constinit const CMirvaRTTI TTaula::m_rttiTTaula(&TItem::m_rttiTItem, "TTaula", 6, sizeof(TTaula), nullptr);

namespace {

struct Freer {
    void operator()(void* block) const { std::free(block); }
};
using Block = std::unique_ptr<TItem*[], Freer>;

std::size_t Size(int number) {
    return static_cast<std::size_t>(number);
}

// A block of null cells; none for a table without cells. Throws CMemoryException*.
Block NewBlock(long long rows, long long columns) {
    if (rows < 0 || columns < 0 || rows > INT32_MAX || columns > INT32_MAX)
        AfxThrowMemoryException();
    const unsigned long long cells =
        static_cast<unsigned long long>(rows) * static_cast<unsigned long long>(columns);
    if (cells == 0)
        return nullptr;
    if (cells > mvlib::MOST_SLOTS)
        AfxThrowMemoryException();
    Block block(mvlib::NewSlots(static_cast<std::size_t>(cells)));
    if (block == nullptr)
        AfxThrowMemoryException();
    return block;
}

} // namespace

TTaula::~TTaula() {
    const std::size_t cells = cela(m_nFiles, 0);
    if (m_ppCeles == nullptr || !mvlib::HandOver(this, m_ppCeles, cells, cells))
        DestruirTaula();
}

const CMirvaRTTI* TTaula::GetRTTI() const {
    return &m_rttiTTaula;
}

int TTaula::EsBuit() const {
    return m_nFiles == 0 && m_nColumnes == 0 ? 1 : 0;
}

TItem* TTaula::_CrearItem(int, int) {
    return nullptr;
}

void TTaula::SetItem(TItem* p, int fila, int columna) {
    TItem* old = std::exchange(m_ppCeles[cela(fila, columna)], p);
    if (old != p)
        delete old;
}

void TTaula::ConstruirTaula(int nFiles, int nColumnes) {
    DestruirTaula();
    m_ppCeles = NewBlock(nFiles, nColumnes).release();
    m_nFiles = nFiles;
    m_nColumnes = nColumnes;
    for (int row = nFiles - 1; row >= 0; --row)
        for (int column = nColumnes - 1; column >= 0; --column)
            SetItem(_CrearItem(row, column), row, column);
}

void TTaula::DestruirTaula() {
    if (m_ppCeles != nullptr) {
        mvlib::DemolitionLoop loop;
        for (std::size_t i = cela(m_nFiles, 0); i-- != 0;)
            loop.Destroy(std::exchange(m_ppCeles[i], nullptr));
    }
    std::free(m_ppCeles);
    m_nFiles = 0;
    m_nColumnes = 0;
    m_ppCeles = nullptr;
}

void TTaula::InsertarFiles(int pos, int n) {
    if (n < 1)
        return;
    if (pos < 0 || pos > m_nFiles)
        pos = m_nFiles;
    Block block = NewBlock(static_cast<long long>(m_nFiles) + n, m_nColumnes);
    TItem** const fresh = block.get() + cela(pos, 0);
    TItem** const behind = fresh + cela(n, 0);
    std::copy(m_ppCeles, m_ppCeles + cela(pos, 0), block.get());
    std::copy(m_ppCeles + cela(pos, 0), m_ppCeles + cela(m_nFiles, 0), behind);
    try {
        for (int row = 0; row < n; ++row)
            for (int column = m_nColumnes - 1; column >= 0; --column)
                fresh[cela(row, column)] = _CrearItem(pos + row, column);
    } catch (...) {
        std::for_each(fresh, behind, [](TItem* item) { delete item; });
        throw;
    }
    adoptar(block.release(), m_nFiles + n, m_nColumnes);
}

void TTaula::InsertarColumnes(int pos, int n) {
    if (n < 1)
        return;
    if (pos < 0 || pos > m_nColumnes)
        pos = m_nColumnes;
    Block block = NewBlock(m_nFiles, static_cast<long long>(m_nColumnes) + n);
    const std::size_t width = Size(m_nColumnes) + Size(n);
    try {
        for (int row = m_nFiles - 1; row >= 0; --row) {
            TItem** const source = m_ppCeles + cela(row, 0);
            TItem** const target = block.get() + Size(row) * width;
            std::copy(source, source + pos, target);
            std::copy(source + pos, source + m_nColumnes, target + pos + n);
            for (int column = pos; column < pos + n; ++column)
                target[column] = _CrearItem(row, column);
        }
    } catch (...) {
        for (std::size_t row = 0; row < Size(m_nFiles); ++row)
            std::for_each_n(block.get() + row * width + pos, n, [](TItem* item) { delete item; });
        throw;
    }
    adoptar(block.release(), m_nFiles, m_nColumnes + n);
}

void TTaula::EliminarFiles(int pos, int n) {
    if (n < 1)
        return;
    if (n >= m_nFiles) {
        DestruirTaula();
        return;
    }
    if (pos < 0 || pos >= m_nFiles)
        return;
    n = std::min(n, m_nFiles - pos);
    {
        // Kept: the cells go on holding the addresses until the new block is there.
        mvlib::DemolitionLoop loop;
        for (int row = pos; row < pos + n; ++row)
            for (int column = m_nColumnes - 1; column >= 0; --column)
                loop.Destroy(GetItem(row, column));
    }
    Block block = NewBlock(m_nFiles - n, m_nColumnes);
    std::copy(m_ppCeles, m_ppCeles + cela(pos, 0), block.get());
    // Kept: the tail is as long as when one row goes, as far as there are rows.
    const int tail = std::min(m_nFiles - pos - 1, m_nFiles - pos - n);
    std::copy_n(m_ppCeles + cela(pos + n, 0), cela(tail, 0), block.get() + cela(pos, 0));
    adoptar(block.release(), m_nFiles - n, m_nColumnes);
}

void TTaula::EliminarColumnes(int pos, int n) {
    if (n < 1)
        return;
    if (n >= m_nColumnes) {
        DestruirTaula();
        return;
    }
    if (pos < 0 || pos >= m_nColumnes)
        return;
    n = std::min(n, m_nColumnes - pos);
    Block block = NewBlock(m_nFiles, m_nColumnes - n);
    const std::size_t width = Size(m_nColumnes - n);
    mvlib::DemolitionLoop loop;
    for (int row = 0; row < m_nFiles; ++row) {
        TItem** const source = m_ppCeles + cela(row, 0);
        TItem** const target = block.get() + Size(row) * width;
        std::copy_n(source, pos, target);
        // Kept: the tail is as long as when one column goes, as far as the row has cells.
        std::copy_n(source + pos + n, std::min(m_nColumnes - pos - 1, m_nColumnes - pos - n), target + pos);
        for (int column = pos; column < pos + n; ++column)
            loop.Destroy(source[column]);
    }
    adoptar(block.release(), m_nFiles, m_nColumnes - n);
}

// Takes a new block in place of the old one.
void TTaula::adoptar(TItem** block, int nFiles, int nColumnes) {
    std::free(m_ppCeles);
    m_ppCeles = block;
    m_nFiles = nFiles;
    m_nColumnes = nColumnes;
}

TTaulaBool::~TTaulaBool() = default;

TItem* TTaulaBool::_CrearItem(int, int) {
    return new (std::nothrow) TBool(m_bDefecte);
}

int TTaulaBool::Get(int fila, int columna) const {
    const TItem* item = GetItem(fila, columna);
    return item != nullptr ? static_cast<const TBool*>(item)->Get() : m_bDefecte;
}

void TTaulaBool::Set(int fila, int columna, int bValor) {
    if (TItem* item = GetItem(fila, columna)) {
        static_cast<TBool*>(item)->Set(bValor);
    } else if (TItem* made = _CrearItem(fila, columna)) {
        static_cast<TBool*>(made)->Set(bValor);
        SetItem(made, fila, columna);
    }
}

void TTaulaBool::Swap(int fila, int columna) {
    if (TItem* item = GetItem(fila, columna))
        static_cast<TBool*>(item)->Swap();
}
