/// @file
/// What programs write around the XML documents of xml.h, written once: values in and out, files, errors that name
/// their place. C++17, header-only.
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
// What it does not do: it changes nothing in the classes of xml.h, keeps nothing, converts no character sets (but for
// ReferencesToUtf8, when it is called), and validates nothing.
//
// Nothing to write to: where a function takes a pointer to a node, a null pointer and the null nodes are fine. Reading
// from them gives the fallback; writing to them does nothing and tells so (false, or the null element). So look-ups and
// these functions chain without a test in between. Functions that take a reference need a node.
//
// Ownership: what comes as a std::unique_ptr is the caller's; every other pointer is to a node that its tree owns.
// Texts are copied; no view is kept.
//
// Threads: as with the trees themselves, one thread at a time for each tree. No function uses the machine's stack per
// level: trees may be of any depth.
//
// Errors: std::bad_alloc and std::length_error as in xml.h; std::invalid_argument for a name or a character that no
// document can hold; DocumentError for bytes that are no document; std::system_error for a file. A call that throws has
// changed nothing, except where it says so.
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
