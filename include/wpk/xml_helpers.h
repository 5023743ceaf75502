/// @file
/// Functions for common tasks with the XML documents of xml.h: values in and out, files, errors with their place.
/// C++17, header-only.
// SPDX-License-Identifier: MIT
//
//     #include <wpk/xml_helpers.h>
//     using namespace wpk::xml;
//
//     const std::unique_ptr<Document> order = Load("order.xml");
//     const int quantity = TextOr(order->root->FindElement("quantity"), 1);         // 1 when there is none
//     for (Element* item : Children(order->root, "item")) Use(AttributeOr(item, "id", ""));
//     SetText(order->root->GetOrCreateElement("customer"), "Tom & Jerry <3");       // arrives as it stands here
//     SetAttribute(Add(order->root, "item"), "price", 12.5);
//     Save(*order, "order.xml");
//
// A failing call:
//
//     try {
//         Load("order.xml");
//     } catch (const std::exception& error) {
//         // "order.xml: line 2, column 8: the end tag is not that of the open element"
//     }
//
// What it does not do: it changes nothing in the classes of xml.h, keeps no state, converts no character sets (except
// in ReferencesToUtf8), and validates nothing.
//
// Missing nodes: where a function takes a pointer to a node, it accepts a null pointer and the null nodes. Reading from
// them returns the fallback; writing to them does nothing and returns false or the null element. So look-ups and these
// functions can be chained without a check in between. Functions that take a reference need a node.
//
// Ownership: a returned std::unique_ptr belongs to the caller; every other returned pointer is to a node that its tree
// owns. Texts are copied; no view is kept.
//
// Threads: as with the trees themselves. No function uses the machine stack per level: trees may be of any depth.
//
// Errors: std::bad_alloc and std::length_error as in xml.h; std::invalid_argument for a name or a character that no
// document can contain; DocumentError for bytes that are not a document; std::system_error for a file. A call that
// throws has changed nothing, unless its comment says otherwise.
//
// It links with wpk::xml, as xml.h does. docs/xml_helpers.md is the guide.
#ifndef WPK_XML_HELPERS_H
#define WPK_XML_HELPERS_H

#include <wpk/xml_helpers/copy.h>
#include <wpk/xml_helpers/describe.h>
#include <wpk/xml_helpers/edit.h>
#include <wpk/xml_helpers/files.h>
#include <wpk/xml_helpers/look_up.h>
#include <wpk/xml_helpers/names.h>
#include <wpk/xml_helpers/parse.h>

#endif  // WPK_XML_HELPERS_H
