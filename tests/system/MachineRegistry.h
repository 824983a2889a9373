// A registry of the test's own behind HKEY_LOCAL_MACHINE, empty at first, as long as the object lives.
#pragma once

#include <memory>

class MachineRegistry {
public:
    MachineRegistry();
    ~MachineRegistry();
    MachineRegistry(const MachineRegistry&) = delete;
    MachineRegistry& operator=(const MachineRegistry&) = delete;

private:
    struct State;
    std::unique_ptr<State> m_state;
};
