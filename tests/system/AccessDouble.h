// Doubles of the system's access functions for the library: they record what they are asked, fail when they
// are told to, and otherwise do the work of the real ones.
#pragma once

#include <win32.h>

#include <set>
#include <string>
#include <vector>

struct AccessWorld {
    std::set<std::string> fails; // functions that fail, with the error 1234
    int failAfter = 0;           // calls of a failing function that still succeed
    bool scripted = false;       // GetFileSecurityW and SetFileSecurityW do not reach the system
    std::vector<BYTE> descriptor;
    std::vector<BYTE> list; // what SetFileSecurityW was given
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    std::wstring file;
    bool hasSetControl = true;
};
extern AccessWorld g_access;

// Turns the library's imports to the doubles, for good.
void PatchAccessFunctions();

const std::vector<BYTE>& Everyone();
const std::vector<BYTE>& System();

// Appends an entry in which the identifier stands behind `before` bytes of the type's own.
void AddEntry(ACL* list, BYTE type, BYTE flags, DWORD mask, const std::vector<BYTE>& sid,
              const std::vector<BYTE>& before = {});

// A list in words: "allow everyone 7; deny system 1 inherited".
std::string Shape(std::vector<BYTE> bytes);
