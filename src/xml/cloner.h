// Copying trees of any depth.
// SPDX-License-Identifier: MIT
#ifndef WPK_XML_CLONER_H
#define WPK_XML_CLONER_H

#include "xml/node_access.h"

namespace AdvXMLParser::detail {

/// What Clone gives for a container: a new one of the same class with copies of the children, under `newParent`. Throws
/// what copying a node below throws, and then leaves no memory allocated.
NodeContainer* CloneTree(const NodeContainer& container, NodeContainer* newParent);

}  // namespace AdvXMLParser::detail

#endif  // WPK_XML_CLONER_H
