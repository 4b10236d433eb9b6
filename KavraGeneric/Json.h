#pragma once

#include "KavraGeneric/Assert.h"

// The parser's own checks are part of how a document with a wrong type ends the process, so they
// are ours in every build.
#define RAPIDJSON_ASSERT( condition ) assert( condition )

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
