// How a module brings its resources on POSIX: the format of the compiled-in table that the resource functions
// of win32.h search. The header needs nothing else, so a module with resources alone links against nothing.
//
// A module defines one table of this name with C linkage, usually in a generated source:
//
//     #include "posix/resource_table.h"
//     namespace {
//     const uint16_t block1125_0409[] = {5, 'H', 'e', 'l', 'l', 'o', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
//     0, 0}; const mv_resource resources[] = {
//         {MV_RESOURCE_STRING, 1125, 0x0409, sizeof block1125_0409, block1125_0409},
//     };
//     } // namespace
//     MV_RESOURCE_TABLE(resources);
//
// In a shared library that is all: the layer finds the exported symbol. A program's symbols are not seen by
// default: there, or where several modules are linked into one, write MV_REGISTER_RESOURCES(resources)
// instead, which enters the table when the module is initialised and takes it out when it ends (it needs
// mvafx62).
//
// Entries are sorted by type, then name, then language, all ascending, without repetition: the search is
// binary. A table that is not sorted, or of another version, is not used at all.
//
// A string resource (type 6) is a block of 16 strings. String `id` lies in the block named id / 16 + 1 at
// place id % 16. A block is 16 times: a length, and that many UTF-16 units, without NUL. A missing string has
// length 0.
#pragma once

#include <stdint.h>

#define MV_RESOURCE_STRING 6
#define MV_RESOURCE_RCDATA 10
#define MV_RESOURCE_VERSION 16

#define MV_RESOURCE_TABLE_VERSION 1u

struct mv_resource {
    uint16_t type;
    uint16_t name;
    uint16_t language; // LANGID: 0x0409 English (United States), 0x0403 Catalan, 0x0C0A Spanish ...
    uint32_t size;     // of the data, in bytes
    const void* data;  // aligned for 16-bit access
};

struct mv_resource_table {
    uint32_t version; // MV_RESOURCE_TABLE_VERSION
    uint32_t count;
    const struct mv_resource* entries;
};

#define MV_RESOURCE_TABLE(resources)                                                                         \
    extern "C" __attribute__((visibility("default"))) const mv_resource_table mvlib_resource_table;          \
    const mv_resource_table mvlib_resource_table = {MV_RESOURCE_TABLE_VERSION,                               \
                                                    sizeof(resources) / sizeof((resources)[0]), resources}

// The module is the one in which the table lies. Registering a table that is registered already, or one that
// cannot be used, answers 0; else 1.
extern "C" __attribute__((visibility("default"))) int
mvlib_register_resources(const mv_resource_table* table);
extern "C" __attribute__((visibility("default"))) void
mvlib_unregister_resources(const mv_resource_table* table);

#define MV_REGISTER_RESOURCES(resources)                                                                     \
    namespace {                                                                                              \
    struct MvRegisteredResources {                                                                           \
        mv_resource_table table = {MV_RESOURCE_TABLE_VERSION, sizeof(resources) / sizeof((resources)[0]),    \
                                   resources};                                                               \
        MvRegisteredResources() { mvlib_register_resources(&table); }                                        \
        ~MvRegisteredResources() { mvlib_unregister_resources(&table); }                                     \
    } g_mvRegisteredResources;                                                                               \
    }
