#include "TArbre.h"

#include <cstring>
#include <typeinfo>
#include <utility>
#include <vector>

#include "afx.h"
#include "items/Demolition.h"

constinit const CMirvaRTTI TArbre::m_rttiTArbre(&TItem::m_rttiTItem, "TArbre", 7, sizeof(TArbre), nullptr);

namespace {

// A stack that lies in the caller's frame as long as it is shallow.
template <class Level>
class WalkStack {
public:
    WalkStack() = default;
    WalkStack(const WalkStack&) = delete;
    WalkStack& operator=(const WalkStack&) = delete;
    ~WalkStack() {
        if (m_levels != m_shallow)
            std::free(m_levels);
    }

    std::size_t Depth() const { return m_depth; }
    Level& Top() { return m_levels[m_depth - 1]; }
    void Pop() { --m_depth; }
    void Push(Level level) {
        if (m_depth == m_capacity)
            Grow();
        m_levels[m_depth++] = level;
    }

private:
    void Grow() {
        const bool shallow = m_levels == m_shallow;
        const std::size_t bytes = 2 * m_capacity * sizeof(Level);
        auto* levels = static_cast<Level*>(std::realloc(shallow ? nullptr : m_levels, bytes));
        if (levels == nullptr)
            AfxThrowMemoryException();
        if (shallow)
            std::memcpy(levels, m_shallow, sizeof m_shallow);
        m_levels = levels;
        m_capacity *= 2;
    }

    static constexpr std::size_t SHALLOW = 64;
    Level m_shallow[SHALLOW];
    Level* m_levels = m_shallow;
    std::size_t m_depth = 0;
    std::size_t m_capacity = SHALLOW;
};

} // namespace

// The deep copy: a stack of nodes whose children are still to be copied.
class TArbre::Copier {
public:
    // Makes `target`, an empty node, a copy of `source`. When it throws, all that was copied hangs below
    // `target` and is owned.
    void Fill(TArbre* target, const TArbre* source) {
        try {
            Begin(target, source);
            while (!m_levels.empty())
                Advance();
        } catch (const std::bad_alloc&) {
            AfxThrowMemoryException();
        }
        for (TArbre* node : m_notOwning)
            node->m_wFlags &= static_cast<unsigned short>(~PROPIETARI);
    }

private:
    struct Level {
        TArbre* target;
        const TArbre* source;
    };

    // The node itself, and its item, which may be a tree whose own item is one, and so on. The children stay
    // behind on the stack: those of the innermost tree come first.
    void Begin(TArbre* target, const TArbre* source) {
        for (;;) {
            // Copies own their items until all is done, lest a failure leaves any behind.
            target->m_wFlags = source->m_wFlags | PROPIETARI;
            if ((source->m_wFlags & PROPIETARI) == 0)
                m_notOwning.push_back(target);
            if (source->GetNumFills() > 0)
                m_levels.push_back({target, source});
            const TItem* item = source->m_pItem;
            if (item == nullptr)
                return;
            if (!IsPlainTree(item)) {
                target->m_pItem = item->Duplicar();
                return;
            }
            auto* copy = new (std::nothrow) TArbre(nullptr, 0);
            target->m_pItem = copy;
            if (copy == nullptr)
                return;
            target = copy;
            source = static_cast<const TArbre*>(item);
        }
    }

    void Advance() {
        const std::size_t depth = m_levels.size();
        const auto [target, source] = m_levels.back();
        while (target->GetNumFills() < source->GetNumFills()) {
            const TArbre* child = source->getFill(target->GetNumFills());
            if (child != nullptr && IsPlainTree(child)) {
                auto* copy = new (std::nothrow) TArbre(nullptr, 0);
                Append(target, copy);
                if (copy == nullptr)
                    continue;
                Begin(copy, child);
                if (m_levels.size() > depth)
                    return;
            } else {
                Append(target, child != nullptr ? static_cast<TArbre*>(child->Duplicar()) : nullptr);
            }
        }
        m_levels.pop_back();
    }

    // A client's class may clone itself in a way of its own.
    static bool IsPlainTree(const TItem* item) { return typeid(*item) == typeid(TArbre); }

    static void Append(TArbre* target, TArbre* child) {
        if (target->afegirFill(child) != 0) {
            delete child;
            AfxThrowMemoryException();
        }
    }

    std::vector<Level> m_levels;
    std::vector<TArbre*> m_notOwning;
};

// The walks. `call`(node, depth) makes the callback.
class TArbre::Walker {
public:
    template <class Node, class Call>
    static int Preorder(Node* start, int depth, Call call) {
        struct Level {
            Node* node;
            int next;
        };
        int result = call(start, depth);
        if (result < 0)
            return result;
        WalkStack<Level> levels;
        levels.Push({start, 0});
        do {
            Level& level = levels.Top();
            // The callback may have changed the children: their number is asked for each time.
            if (level.next >= level.node->GetNumFills()) {
                levels.Pop();
                continue;
            }
            Node* child = level.node->getFill(level.next++);
            if (level.next < level.node->GetNumFills())
                Fetch(level.node->getFill(level.next));
            if (child == nullptr)
                continue;
            Fetch(child->m_fills.m_ppItems);
            result = call(child, depth + static_cast<int>(levels.Depth()));
            if (result < 0)
                return result;
            levels.Push({child, 0});
        } while (levels.Depth() != 0);
        return result;
    }

    // Kept: the walk below each child is the pre-order one.
    template <class Node, class Call>
    static int Postorder(Node* start, int depth, Call call) {
        for (int i = 0; i < start->GetNumFills(); ++i) {
            Node* child = start->getFill(i);
            if (child == nullptr)
                continue;
            const int result = Preorder(child, depth + 1, call);
            if (result < 0)
                return result;
        }
        return call(start, depth);
    }

    template <class Node, class Call>
    static int Inorder(Node* start, int depth, Call call) {
        struct Level {
            Node* node;
            int depth;
        };
        WalkStack<Level> levels; // nodes whose left side is under way
        Level next{start, depth};
        for (;;) {
            while (next.node != nullptr) {
                levels.Push(next);
                next = {Child(next.node, 0), next.depth + 1};
            }
            if (levels.Depth() == 0)
                return 0;
            const Level level = levels.Top();
            levels.Pop();
            const int result = call(level.node, level.depth);
            if (result < 0)
                return result;
            next = {Child(level.node, 1), level.depth + 1};
        }
    }

    template <class Function>
    static auto ForItems(Function fn, long user) {
        return [fn, user](const TArbre* node, int depth) { return fn(node->m_pItem, depth, user); };
    }
    template <class Function>
    static auto ForNodes(Function fn, long user) {
        return [fn, user](TArbre* node, int depth) { return fn(node, depth, user); };
    }

private:
    // Asks for the memory that the walk comes to next, while the callback works. Any address will do.
    static void Fetch(const void* address) { __builtin_prefetch(address); }

    template <class Node>
    static Node* Child(Node* node, int i) {
        return i < node->GetNumFills() ? node->getFill(i) : nullptr;
    }
};

TArbre::TArbre(TItem* p, int bPropietari)
    : m_pItem(p)
    , m_wFlags(bPropietari != 0 ? PROPIETARI : 0) {}

TArbre::TArbre(TItem* p, TArbre* pEsquerre, TArbre* pDret, int bPropietari)
    : m_pItem(p)
    , m_wFlags(bPropietari != 0 ? BINARI | PROPIETARI : BINARI) {
    // The first append makes room for both.
    if (afegirFill(pEsquerre) != 0 || afegirFill(pDret) != 0)
        AfxThrowMemoryException();
}

TArbre::TArbre(const TArbre* pOrigen)
    : TArbre(nullptr, 0) {
    Copier().Fill(this, pOrigen);
}

TArbre::~TArbre() {
    if ((m_wFlags & PROPIETARI) != 0 && m_pItem != nullptr && !mvlib::HandOverItem(this, m_pItem))
        mvlib::DemolitionLoop().Destroy(m_pItem);
    m_fills.entregar(this);
}

TItem* TArbre::Duplicar() const {
    return new (std::nothrow) TArbre(this);
}

const CMirvaRTTI* TArbre::GetRTTI() const {
    return &m_rttiTArbre;
}

int TArbre::EsBuit() const {
    return m_fills.EsBuida();
}

void TArbre::SetItem(TItem* p, int bEliminar) {
    TItem* old = std::exchange(m_pItem, p);
    if (bEliminar != 0 && old != p)
        delete old;
}

int TArbre::InsertarFill(TArbre* pFill, int pos) {
    return pos < 0 ? afegirFill(pFill) : insertarFill(pFill, pos);
}

void TArbre::SetFill(TArbre* pFill, int i, int bEliminar) {
    TArbre* old = setFill(pFill, i);
    if (bEliminar != 0 && old != pFill)
        delete old;
}

void TArbre::EliminarFill(int i) {
    delete treuFill(i);
}

int TArbre::i_preordre(int nNivell, PFN_VISITARITEMARBRE fn, long lUser) const {
    return Walker::Preorder(this, nNivell, Walker::ForItems(fn, lUser));
}

int TArbre::i_preordre(int nNivell, PFN_VISITARARBRE fn, long lUser) {
    return Walker::Preorder(this, nNivell, Walker::ForNodes(fn, lUser));
}

int TArbre::i_postordre(int nNivell, PFN_VISITARITEMARBRE fn, long lUser) const {
    return Walker::Postorder(this, nNivell, Walker::ForItems(fn, lUser));
}

int TArbre::i_postordre(int nNivell, PFN_VISITARARBRE fn, long lUser) {
    return Walker::Postorder(this, nNivell, Walker::ForNodes(fn, lUser));
}

int TArbre::i_inordre(int nNivell, PFN_VISITARITEMARBRE fn, long lUser) const {
    return Walker::Inorder(this, nNivell, Walker::ForItems(fn, lUser));
}

int TArbre::i_inordre(int nNivell, PFN_VISITARARBRE fn, long lUser) {
    return Walker::Inorder(this, nNivell, Walker::ForNodes(fn, lUser));
}
