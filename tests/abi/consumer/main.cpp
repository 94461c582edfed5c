// SPDX-License-Identifier: Apache-2.0
// Uses a piece of each part of the installed library; prints "ok" when it answers.
#include <orvane/omc.h>

#include <iostream>

using namespace tz::orvane;

static_assert(__cplusplus >= 201703L, "whoever links the library gets the language that its headers need");

int main()
{
    om::OmPropertyGroup group;
    group.add("key", "value");
    om::UriEntity const film("file:///film.mp4");
    om::OmIConnection* const connection = omc::OmcClientAccess::getApp(0)->createConnection("consumer");
    bool const right = group.get("key") == "value" && film.isValid() && connection == nullptr;
    std::cout << (right ? "ok" : "wrong") << "\n";
    return right ? 0 : 1;
}
