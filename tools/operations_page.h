// docs/operations.md, made from the table that the dispatcher works with.
#pragma once

#include <string>

// The whole page, in Markdown.
std::string OperationsPage();
