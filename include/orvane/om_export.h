// SPDX-License-Identifier: Apache-2.0
// Marks what the shared library shows to applications; everything else stays hidden.
#pragma once

#define ORVANE_API __attribute__((visibility("default")))
