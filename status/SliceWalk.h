// The slices of a walk over many entries: one is pushed before each visit and popped after it.
#pragma once

#include "TIndicadorEstat.h"

#include <typeinfo>

// What SetRangPosicioRel(k, count) before visit k and PopRangRel() after it do, at a fraction of their price
// when nobody can watch the steps between them: an indicator of the base class without a callback. Its slices
// then share one entry of the stack, which is overwritten from visit to visit; visits that change the stack,
// pauses and cancels fall back on the operations themselves. The indicator may be null.
class MvSliceWalk {
public:
    MvSliceWalk(TIndicadorEstat* indicator, int count)
        : m_indicator(indicator)
        , m_count(static_cast<unsigned int>(count))
        , m_unwatched(indicator && !indicator->m_pfnCallback &&
                      typeid(*indicator) == typeid(TIndicadorEstat)) {}
    MvSliceWalk(const MvSliceWalk&) = delete;
    MvSliceWalk& operator=(const MvSliceWalk&) = delete;
    ~MvSliceWalk() {
        if (m_owed)
            m_indicator->m_llistaRangs.RemoveTail();
    }

    // Pushes slice `visited` and shows its start. False: stop; what was pushed stays.
    bool Enter(int visited) {
        if (!m_indicator)
            return true;
        const auto slice = static_cast<unsigned int>(visited);
        return m_owed ? reuse(slice) : push(slice);
    }
    // Pops it and shows its end. False: stop.
    bool Leave() { return !m_indicator || (m_slice && isTop() ? keep() : m_indicator->PopRangRel() != 0); }

private:
    using Ranges = CList<RANGIE, const RANGIE&>;

    bool push(unsigned int slice) {
        Ranges& ranges = m_indicator->m_llistaRangs;
        const INT_PTR before = ranges.GetCount();
        const bool goOn = m_indicator->SetRangPosicioRel(slice, m_count) != 0;
        m_depth = ranges.GetCount();
        m_slice = m_unwatched && m_depth > before ? ranges.GetTailPosition() : nullptr;
        return goOn;
    }
    // The entry that the last visit left becomes the next slice. Whether to go on was tested a moment ago.
    bool reuse(unsigned int slice) {
        Ranges& ranges = m_indicator->m_llistaRangs;
        POSITION pos = m_slice;
        RANGIE& top = ranges.GetPrev(pos);
        const RANGIE& parent = ranges.GetAt(pos);
        const double step = parent.rang() / static_cast<double>(m_count);
        const double first = static_cast<double>(slice) * step + parent.m_dInici;
        top.Set(first, first + step);
        m_owed = false;
        m_indicator->m_dEstat.store(first, std::memory_order_release);
        return true;
    }
    // Shows the end of the slice and leaves its entry on the stack for the next one.
    bool keep() {
        const double end = m_indicator->m_llistaRangs.GetAt(m_slice).m_dFi;
        if (!m_indicator->running() || m_indicator->m_bCancelat.load(std::memory_order_acquire))
            return m_indicator->PopRangRel() != 0;
        m_indicator->m_dEstat.store(end, std::memory_order_release);
        m_owed = true;
        return true;
    }
    bool isTop() const {
        const Ranges& ranges = m_indicator->m_llistaRangs;
        return ranges.GetTailPosition() == m_slice && ranges.GetCount() == m_depth;
    }

    TIndicadorEstat* const m_indicator;
    const unsigned int m_count;
    const bool m_unwatched;
    bool m_owed = false; // the finished slice is still on the stack
    POSITION m_slice = nullptr;
    INT_PTR m_depth = 0;
};
