// The peers of lists that call back. They stand in a library of their own, because ours does and a call from
// a library into a program and back costs as much as the rest of a short visit.
#pragma once

#include <deque>
#include <memory>
#include <vector>

class Plain; // the item of the peers

using Vector = std::vector<std::unique_ptr<Plain>>;
using Deque = std::deque<std::unique_ptr<Plain>>;

using PlainVisitor = int (*)(Plain* item, int index, long user);
using PlainComparator = int (*)(const Plain* a, const Plain* b, long user);

// Visits every item until the visitor answers a negative number, which is the result then.
int VisitAll(const Vector& list, PlainVisitor visitor, long user);
int VisitAll(const Deque& list, PlainVisitor visitor, long user);

// Insertion from the last entry on, scanning from the front.
void InsertionSort(std::vector<Plain*>& list, PlainComparator compare, long user);
