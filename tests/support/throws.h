// Tells whether something ends in an exception of the framework, which it deletes.
#pragma once

#include <afx.h>

template <class Exception, class Operation>
bool Throws(Operation operation) {
    try {
        operation();
    } catch (Exception* exception) {
        exception->Delete();
        return true;
    }
    return false;
}

// Runs `operation`; true when it ended in the memory exception.
template <class Operation>
bool ThrowsMemoryException(Operation operation) {
    return Throws<CMemoryException>(operation);
}
