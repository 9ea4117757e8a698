#pragma once

// Breaks the rule of the arrows on purpose: what the check must say about this file is in the test
// that runs it here.

#include "status.h"
#include "xml/reader.h"
