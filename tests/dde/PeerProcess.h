// What the system does for a Peer.
#pragma once

#include "Peer.h"

struct Peer::Process {
    void Start(const std::vector<std::string>& words);
    // Bytes of its standard output; 0 at the end.
    std::size_t Read(char* bytes, std::size_t size);
    // False once it ended, with its code (-1 for a forced end).
    bool Running(int& code);
    void Kill();
    void Close();

    void* process = nullptr;
    void* output = nullptr;
    int ended = -2; // exit code; -2 while it runs
};
