/// @file
/// The XML documents of message bodies: build a tree, write it, read one, look things up.
// SPDX-License-Identifier: MIT
//
//     using namespace AdvXMLParser;
//
//     Document order("order");                                    // <order>
//     order.root->GetOrCreateElement("customer")->AppendText("Miller");
//     std::string body;
//     WriteContext context;
//     context.output = &body;
//     order.Write(context);                                       // the bytes to send
//
//     std::unique_ptr<Document> reply(Parser().Parse(bytes, size));
//     std::string state = reply->root->FindElement("state")->GetText();      // "" when there is no <state>
//
// A failing call:
//
//     try {
//         Parser().Parse("<a></b>", 7);
//     } catch (const ParsingException& fault) {
//         // fault.code 13 (the end tag is another element's), fault.line 1, fault.column 7
//     }
//
// What it does not do: it does not convert character sets (one byte is one character), validate, expand entities or
// read other files. Two things to know: the writer turns < > & ' " in texts into the bare names lt gt amp apos quot
// (use an EntityRef or CData node where the character itself must arrive), and a character reference keeps only the low
// eight bits of its number.
//
// Ownership: a container owns its children. Threads: any number of threads may read a tree at once; a thread that
// changes it must be the only one. Errors: see exceptions.h.
//
// It is plain C++17 and needs only the standard library. docs/xml.md is the guide; xml_helpers.h has functions for
// common tasks.
#ifndef WPK_XML_H
#define WPK_XML_H

// An included file that does not exist ends the compilation, which an #error alone does not.
#if defined(_MSVC_LANG) ? _MSVC_LANG < 201703L : __cplusplus < 201703L
#error "wpk/xml.h needs C++17: compile with -std=c++17 or later (Visual C++: /std:c++17)"
#include "what is missing stands in the line above"
#endif

#include <wpk/xml/byte_string.h>
#include <wpk/xml/exceptions.h>
#include <wpk/xml/node.h>
#include <wpk/xml/node_list.h>
#include <wpk/xml/nodes.h>
#include <wpk/xml/parser.h>
#include <wpk/xml/write_context.h>

#endif  // WPK_XML_H
