#pragma once
#include "support/testdir.h"
