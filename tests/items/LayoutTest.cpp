// Sizes, offsets and the order of virtual operations, which client code compiled against the headers relies
// on.
#include "layout.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "TArbre.h"
#include "TCrossList.h"
#include "THash.h"
#include "TLlista.h"
#include "TTaula.h"

namespace {

template <class Item>
struct Value : Item {
    std::ptrdiff_t ValueOffset() const { return Offset(*this, this->m_valor); }
};

struct Text : TItemString {
    std::ptrdiff_t TextOffset() const { return Offset(*this, m_pszText); }
};

template <class List>
struct Fields : List {
    using List::List;
    std::ptrdiff_t Owner() const { return Offset(*this, this->m_bPropietari); }
    std::ptrdiff_t Capacity() const { return Offset(*this, this->m_nCapacitat); }
    std::ptrdiff_t Step() const { return Offset(*this, this->m_nIncrement); }
    std::ptrdiff_t Count() const { return Offset(*this, this->m_nElements); }
    std::ptrdiff_t Cursor() const { return Offset(*this, this->m_nActual); }
    std::ptrdiff_t Items() const { return Offset(*this, this->m_ppItems); }
};

struct OrderedFields : TLlistaOrdenada {
    std::ptrdiff_t Repeated() const { return Offset(*this, m_bRepetits); }
};

struct LimitedFields : TPilaLimitada {
    using TPilaLimitada::TPilaLimitada;
    std::ptrdiff_t Limit() const { return Offset(*this, m_nTamany); }
};

struct TreeFields : TArbre {
    using TArbre::TArbre;
    std::ptrdiff_t Item() const { return Offset(*this, m_pItem); }
    std::ptrdiff_t Children() const { return Offset(*this, m_fills); }
    std::ptrdiff_t Flags() const { return Offset(*this, m_wFlags); }
    static constexpr std::size_t FLAGS_SIZE = sizeof(m_wFlags);
};

struct TableFields : TTaulaBool {
    std::ptrdiff_t Rows() const { return Offset(*this, m_nFiles); }
    std::ptrdiff_t Columns() const { return Offset(*this, m_nColumnes); }
    std::ptrdiff_t Cells() const { return Offset(*this, m_ppCeles); }
    std::ptrdiff_t Default() const { return Offset(*this, m_bDefecte); }
};

} // namespace

TEST(Layout, RecordHoldsItsFiveFieldsInOrder) {
    const CMirvaRTTI record(nullptr, "x", 1, 2, nullptr);
    const std::ptrdiff_t word = sizeof(void*);
    EXPECT_EQ(Offset(record, record.m_pPare), 0);
    EXPECT_EQ(Offset(record, record.m_szNom), word);
    EXPECT_EQ(Offset(record, record.m_nTipus), 2 * word);
    EXPECT_EQ(Offset(record, record.m_nMida), 2 * word + 4);
    EXPECT_EQ(Offset(record, record.m_pfnCrear), 2 * word + 8);
    EXPECT_EQ(sizeof(CMirvaRTTI), 3 * sizeof(void*) + 8);
}

TEST(Layout, ItemIsItsVirtualTablePointer) {
    EXPECT_EQ(sizeof(TItem), sizeof(void*));
}

TEST(Layout, ValueItemsHoldOneField) {
    const std::ptrdiff_t word = sizeof(void*);
    EXPECT_EQ(Value<TInt>().ValueOffset(), word);
    EXPECT_EQ(Value<TBool>().ValueOffset(), word);
    EXPECT_EQ(Value<TChar>().ValueOffset(), word);
    EXPECT_EQ(Value<TFloat>().ValueOffset(), word);
    EXPECT_EQ(Value<TDouble>().ValueOffset(), 8);
    EXPECT_EQ(Text().TextOffset(), word);
    EXPECT_EQ(sizeof(TInt), 2 * sizeof(void*));
    EXPECT_EQ(sizeof(TBool), 2 * sizeof(void*));
    EXPECT_EQ(sizeof(TChar), 2 * sizeof(void*));
    EXPECT_EQ(sizeof(TFloat), 2 * sizeof(void*));
    EXPECT_EQ(sizeof(TDouble), 16U);
    EXPECT_EQ(sizeof(TItemString), 2 * sizeof(void*));
}

TEST(Layout, ListHoldsItsFieldsInOrder) {
    const std::ptrdiff_t first = sizeof(void*);
    const Fields<TLlista> list;
    EXPECT_EQ(list.Owner(), first);
    EXPECT_EQ(list.Capacity(), first + 4);
    EXPECT_EQ(list.Step(), first + 8);
    EXPECT_EQ(list.Count(), first + 12);
    EXPECT_EQ(list.Cursor(), first + 16);
    EXPECT_EQ(list.Items(), WINDOWS_LAYOUT ? first + 20 : first + 24);
}

TEST(Layout, DerivedListsAddTheirFieldBehindTheList) {
    EXPECT_EQ(OrderedFields().Repeated(), static_cast<std::ptrdiff_t>(sizeof(TLlista)));
    EXPECT_EQ(LimitedFields(1).Limit(), static_cast<std::ptrdiff_t>(sizeof(TPila)));
    EXPECT_EQ(sizeof(TLlistaCircular), sizeof(TLlista));
    EXPECT_EQ(sizeof(TPila), sizeof(TLlista));
}

TEST(Layout, TreeNodeHoldsItsFieldsInOrder) {
    const std::ptrdiff_t word = sizeof(void*);
    const TreeFields node(nullptr, 0);
    EXPECT_EQ(node.Item(), word);
    EXPECT_EQ(node.Children(), 2 * word);
    EXPECT_EQ(node.Flags(), 2 * word + static_cast<std::ptrdiff_t>(sizeof(TLlista)));
    EXPECT_EQ(TreeFields::FLAGS_SIZE, 2U);
}

TEST(Layout, TableHoldsItsFieldsInOrder) {
    const std::ptrdiff_t word = sizeof(void*);
    const TableFields table;
    EXPECT_EQ(table.Rows(), word);
    EXPECT_EQ(table.Columns(), word + 4);
    EXPECT_EQ(table.Cells(), word + 8);
    EXPECT_EQ(table.Default(), static_cast<std::ptrdiff_t>(sizeof(TTaula)));
}

// The numbers of the Windows target are the product's; those of the native target follow from its wider
// pointers.
TEST(Layout, SizesOfOneInstance) {
    const auto size = [](std::size_t windows, std::size_t native) {
        return WINDOWS_LAYOUT ? windows : native;
    };
    EXPECT_EQ(sizeof(CMirvaRTTI), size(20, 32));
    EXPECT_EQ(sizeof(TItem), size(4, 8));
    EXPECT_EQ(sizeof(TInt), size(8, 16));
    EXPECT_EQ(sizeof(TDouble), size(16, 16));
    EXPECT_EQ(sizeof(TItemString), size(8, 16));
    EXPECT_EQ(sizeof(TLlista), size(28, 40));
    EXPECT_EQ(sizeof(TLlistaOrdenada), size(32, 48));
    EXPECT_EQ(sizeof(TLlistaCircular), size(28, 40));
    EXPECT_EQ(sizeof(TPila), size(28, 40));
    EXPECT_EQ(sizeof(TPilaLimitada), size(32, 48));
    EXPECT_EQ(sizeof(TArbre), size(40, 64));
    EXPECT_EQ(sizeof(TTaula), size(16, 24));
    EXPECT_EQ(sizeof(TTaulaBool), size(20, 32));
}

TEST(Layout, ItemSlots) {
    EXPECT_EQ(Slot(&TItem::Duplicar), 1);
    EXPECT_EQ(Slot(&TItem::GetRTTI), 2);
    EXPECT_EQ(Slot(&TItem::EsBuit), 3);
    EXPECT_EQ(Slot(&TItem::Iguals), 4);
    EXPECT_EQ(Slot(&TItem::Comparar), 5);
    EXPECT_EQ(Slot(&TItem::Guardar), 6);
    EXPECT_EQ(Slot(&TItem::Llegir), 7);
}

TEST(Layout, ListSlotsFollowTheItemSlots) {
    EXPECT_EQ(Slot(&TLlista::Duplicar), 1);
    EXPECT_EQ(Slot(&TLlista::GetRTTI), 2);
    EXPECT_EQ(Slot(&TLlista::EsBuit), 3);
    EXPECT_EQ(Slot(&TLlista::Afegir), 8);
    EXPECT_EQ(Slot(&TLlista::Canviar), 9);
    EXPECT_EQ(Slot(&TLlista::Insertar), 10);
    EXPECT_EQ(Slot(&TLlista::Eliminar), 11);
    EXPECT_EQ(Slot(&TLlista::Treure), 12);
    EXPECT_EQ(Slot(&TLlista::Invertir), 13);
    EXPECT_EQ(Slot(&TLlista::Ordenar), 14);
    EXPECT_EQ(Slot(&TLlista::Concatenar), 15);
    EXPECT_EQ(Slot(&TLlista::Fusionar), 16);
}

TEST(Layout, DerivedListsKeepTheListSlots) {
    EXPECT_EQ(Slot(&TLlistaOrdenada::Afegir), 8);
    EXPECT_EQ(Slot(&TLlistaCircular::GetRTTI), 2);
    EXPECT_EQ(Slot(&TLlistaCircular::Canviar), 9);
    EXPECT_EQ(Slot(&TLlistaCircular::Insertar), 10);
    EXPECT_EQ(Slot(&TLlistaCircular::Eliminar), 11);
    EXPECT_EQ(Slot(&TLlistaCircular::Treure), 12);
}

TEST(Layout, StackSlotsFollowTheListSlots) {
    EXPECT_EQ(Slot(&TPila::push), 17);
    EXPECT_EQ(Slot(&TPila::pop), 18);
    EXPECT_EQ(Slot(&TPila::poptop), 19);
    EXPECT_EQ(Slot(&TPila::top), 20);
    EXPECT_EQ(Slot(&TPilaLimitada::push), 17);
}

TEST(Layout, TreeAddsNoSlots) {
    EXPECT_EQ(Slot(&TArbre::Duplicar), 1);
    EXPECT_EQ(Slot(&TArbre::GetRTTI), 2);
    EXPECT_EQ(Slot(&TArbre::EsBuit), 3);
}

TEST(Layout, TableFactoryFollowsTheItemSlots) {
    EXPECT_EQ(Slot(&TTaula::GetRTTI), 2);
    EXPECT_EQ(Slot(&TTaula::EsBuit), 3);
    EXPECT_EQ(Slot(&TTaula::_CrearItem), 8);
    EXPECT_EQ(Slot(&TTaulaBool::_CrearItem), 8);
}

TEST(Layout, HashTableAddsNoSlots) {
    EXPECT_EQ(Slot(&THash::Duplicar), 1);
    EXPECT_EQ(Slot(&THash::GetRTTI), 2);
    EXPECT_EQ(Slot(&THash::EsBuit), 3);
    EXPECT_EQ(Slot(&THashItem::Duplicar), 1);
    EXPECT_EQ(Slot(&THashItem::GetRTTI), 2);
}

TEST(Layout, CrossNodeHasOneSlotBehindItsDestructor) {
    EXPECT_EQ(Slot(&TCrossNode::Duplicar), 1);
    EXPECT_EQ(sizeof(TCrossNode), 4 * sizeof(void*));
}

TEST(Layout, CrossListSlotsFollowTheItemSlots) {
    using Node = TCrossNode;
    using InsertNode = Node* (TCrossList::*)(Node*, Node*);
    using InsertItem = Node* (TCrossList::*)(TItem*, TItem*);
    using EndNode = Node* (TCrossList::*)(Node*);
    using EndItem = Node* (TCrossList::*)(TItem*);
    using SortWith = int (TCrossList::*)(TCrossList::COMPARADOR, long, TIndicadorEstat*);
    EXPECT_EQ(Slot(&TCrossList::Duplicar), 1);
    EXPECT_EQ(Slot(&TCrossList::GetRTTI), 2);
    EXPECT_EQ(Slot(&TCrossList::EsBuit), 3);
    EXPECT_EQ(Slot(&TCrossList::IsEmpty), 8);
    EXPECT_EQ(Slot(&TCrossList::GetNode), 9);
    EXPECT_EQ(Slot(&TCrossList::GetFirst), 10);
    EXPECT_EQ(Slot(&TCrossList::GetLast), 11);
    EXPECT_EQ(Slot(&TCrossList::GetPrev), 12);
    EXPECT_EQ(Slot(&TCrossList::GetNext), 13);
    EXPECT_EQ(Slot(static_cast<InsertNode>(&TCrossList::InsertAfter)), 14);
    EXPECT_EQ(Slot(static_cast<InsertItem>(&TCrossList::InsertAfter)), 15);
    EXPECT_EQ(Slot(static_cast<InsertNode>(&TCrossList::InsertBefore)), 16);
    EXPECT_EQ(Slot(static_cast<InsertItem>(&TCrossList::InsertBefore)), 17);
    EXPECT_EQ(Slot(static_cast<EndNode>(&TCrossList::InsertFirst)), 18);
    EXPECT_EQ(Slot(static_cast<EndItem>(&TCrossList::InsertFirst)), 19);
    EXPECT_EQ(Slot(static_cast<EndNode>(&TCrossList::InsertLast)), 20);
    EXPECT_EQ(Slot(static_cast<EndItem>(&TCrossList::InsertLast)), 21);
    EXPECT_EQ(Slot(&TCrossList::ExChangePositions), 22);
    EXPECT_EQ(Slot(&TCrossList::LinkNodes), 23);
    EXPECT_EQ(Slot(&TCrossList::Remove), 24);
    EXPECT_EQ(Slot(&TCrossList::PullOut), 25);
    EXPECT_EQ(Slot(&TCrossList::GetFirstPreviousNode), 26);
    EXPECT_EQ(Slot(&TCrossList::GetLastNextNode), 27);
    EXPECT_EQ(Slot(&TCrossList::Reverse), 28);
    EXPECT_EQ(Slot(static_cast<int (TCrossList::*)()>(&TCrossList::Sort)), 29);
    EXPECT_EQ(Slot(static_cast<SortWith>(&TCrossList::Sort)), 30);
    EXPECT_EQ(Slot(&TCrossList::Concatenate), 31);
    EXPECT_EQ(Slot(&TCrossList::Join), 32);
    EXPECT_EQ(Slot(static_cast<EndNode>(&TCrossList::AddOrderedElem)), 33);
    EXPECT_EQ(Slot(static_cast<EndItem>(&TCrossList::AddOrderedElem)), 34);
    EXPECT_EQ(Slot(&TCrossList::IsSorted), 35);
}

TEST(Layout, RingKeepsTheCrossListSlots) {
    EXPECT_EQ(Slot(&TCircularCrossList::GetRTTI), 2);
    EXPECT_EQ(Slot(&TCircularCrossList::ExChangePositions), 22);
    EXPECT_EQ(Slot(&TCircularCrossList::PullOut), 25);
    EXPECT_EQ(Slot(&TCircularCrossList::GetFirstPreviousNode), 26);
    EXPECT_EQ(Slot(&TCircularCrossList::GetLastNextNode), 27);
}
