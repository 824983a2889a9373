// What the library knows of its surroundings: versions of files ("ver"), folders ("path"), everything for a
// report of a fault ("diag").
#pragma once

#include "../command.h"

#include "afx.h"

namespace mvtool::info {

const Family& versionFamily();
const Family& pathFamily();
const Family& diagnosisFamily();

/// A row of a table for a person: what it is, and what is to say of it.
struct Row {
    std::string name;
    std::string value;
};

/// The rows with their values below each other, each with `margin` before it. Control characters become
/// escapes.
std::string table(const std::vector<Row>& rows, const std::string& margin = {});

/// A path of the library for a person to read.
std::string shown(const CString& path);

/// The folders that applications keep data in, for an application of that name (empty: none).
std::vector<Row> dataFolders(const CString& application);

} // namespace mvtool::info
