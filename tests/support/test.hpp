// What nearly every test needs: GoogleTest, and what goes without it.
#pragma once

#include <gtest/gtest.h>

#include "support/odd_numbers.hpp"
