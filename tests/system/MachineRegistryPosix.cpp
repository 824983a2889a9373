#include "MachineRegistry.h"

#include "temp_folder.h"

#include <cstdlib>
#include <string>

struct MachineRegistry::State {
    TempFolder folder;
    std::string before;
};

MachineRegistry::MachineRegistry()
    : m_state(std::make_unique<State>()) {
    if (const char* store = std::getenv("MVLIB_REGISTRY"))
        m_state->before = store;
    ::setenv("MVLIB_REGISTRY", (m_state->folder.Root() / "registry.db").c_str(), 1);
}

MachineRegistry::~MachineRegistry() {
    if (m_state->before.empty())
        ::unsetenv("MVLIB_REGISTRY");
    else
        ::setenv("MVLIB_REGISTRY", m_state->before.c_str(), 1);
}
