// XMP packets: properties are found by the namespace that a packet binds to their prefix, whatever the prefix is, and
// changed or taken out where they stand. All else of a packet stays as it was, letter by letter.

#pragma once

#include <span>
#include <string>

struct XmpChange {
    const char *space, *name;   // of the property; without a name, or with a beginning that ends in '*': all such
    enum Kind { SET, DROP, DROP_PREVIEW } kind;
    std::string value = {};   // that it gets; it must stand in XML as it is
};

// Makes the changes wherever such a property stands, as an attribute or as an element; one that is not there is not added.
// With `preview`, an element or attribute that holds a JPEG or PNG file goes too, whatever its name, and `*preview`
// becomes true when that or a property marked so has been taken out. False, with the packet as it was, where that is not
// whole XML in UTF-8 without definitions of its own: nobody can tell what is in it.
bool ChangeXmp(std::string &packet, std::span<const XmpChange> changes, bool *preview);
