// A second process that works on the same files.
#pragma once

#include <string>
#include <vector>

// Starts the program platform_child with the arguments and waits for it. Its exit code, or -1 when it did not
// end well.
int RunChild(const std::vector<std::wstring>& arguments);

// One that stays: it does its work, says so, and ends when it is told.
class WaitingChild {
public:
    // Returns when the work is done. `result` is what RunChild would have answered.
    explicit WaitingChild(const std::vector<std::wstring>& arguments);
    ~WaitingChild();
    WaitingChild(const WaitingChild&) = delete;
    WaitingChild& operator=(const WaitingChild&) = delete;

    int Result() const { return m_result; }

private:
    int m_result = -1;
    struct State;
    State* m_state;
};
