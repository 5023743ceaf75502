/// @file
/// The classes of xml.h that the helpers use, under their own names.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_HELPERS_NAMES_H
#define WPK_XML_HELPERS_NAMES_H

#if defined(_MSVC_LANG) ? _MSVC_LANG < 201703L : __cplusplus < 201703L
#error "wpk/xml_helpers.h needs C++17: compile with -std=c++17 or /std:c++17"
#endif

#include <wpk/xml.h>

/// The C++ layers on WPK.
namespace wpk {

/// Helpers for the documents of xml.h. Only the classes that their users need by name are included.
namespace xml {

using AdvXMLParser::Attribute;
using AdvXMLParser::Document;
using AdvXMLParser::Element;
using AdvXMLParser::IsNull;
using AdvXMLParser::Node;
using AdvXMLParser::NodeContainer;
using AdvXMLParser::ParsingException;
using AdvXMLParser::WRITE_VERBATIM;

}  // namespace xml
}  // namespace wpk

#endif  // WPK_XML_HELPERS_NAMES_H
