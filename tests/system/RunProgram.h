// Runs a program of the tests to its end.
#pragma once

#include <win32.h>

#include <string>

struct Outcome {
    DWORD code = 0xFFFFFFFF; // as it is when the program did not start
    std::string output;
    std::string errors;
};

// The folder of this program, with its last backslash.
std::wstring ProgramFolder();

// `line` is the command line. A program that is not done after 30 s fails the test.
Outcome RunProgram(std::wstring line);
