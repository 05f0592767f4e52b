// Where XML configuration files are read.
#pragma once

#include <string>

namespace util {

// The path at which XmlDocument::Read opens the file of this path: the same one. It has a source of
// its own, so that a program that reads a copy of the gateway's files links its own definition.
std::string PlaceOfXmlFile(const std::string& path);

}  // namespace util
