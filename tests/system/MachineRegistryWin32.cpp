#include "MachineRegistry.h"

#include <gtest/gtest.h>
#include <win32.h>

namespace {

constexpr const wchar_t* Key = L"Software\\mvlib62 tests\\machine";

} // namespace

struct MachineRegistry::State {
    HKEY key = nullptr;
};

MachineRegistry::MachineRegistry()
    : m_state(std::make_unique<State>()) {
    RegDeleteTreeW(HKEY_CURRENT_USER, Key);
    EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, Key, &m_state->key), ERROR_SUCCESS);
    EXPECT_EQ(RegOverridePredefKey(HKEY_LOCAL_MACHINE, m_state->key), ERROR_SUCCESS);
}

MachineRegistry::~MachineRegistry() {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegCloseKey(m_state->key);
    RegDeleteTreeW(HKEY_CURRENT_USER, Key);
}
