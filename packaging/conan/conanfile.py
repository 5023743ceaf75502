"""A recipe for Conan 2, which builds the sources that it stands among: conan create packaging/conan"""
import os
import re

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load

ROOT = os.path.join("..", "..")


class WpkConan(ConanFile):
    name = "wpk"
    description = "Sends messages to named services on a central server; builds, writes and parses XML documents"
    license = "MIT"
    settings = "os", "arch", "compiler", "build_type"
    package_type = "library"

    def set_version(self):
        sources = load(self, os.path.join(self.recipe_folder, ROOT, "CMakeLists.txt"))
        self.version = re.search(r"project\(wpk VERSION ([\d.]+)", sources).group(1)

    def export_sources(self):
        pages = ("LICENSE", "THIRD_PARTY.md", "README.md", "CHANGELOG.md", "SECURITY.md")
        for pattern in (*pages, "CMakeLists.txt", "cmake/*", "docs/*", "examples/*", "include/*", "src/*"):
            copy(self, pattern, os.path.join(self.recipe_folder, ROOT), self.export_sources_folder)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["WPK_TESTS"] = False
        toolchain.cache_variables["WPK_EXAMPLES"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))

    def package_info(self):
        # The package brings CMake files of its own, which know what serves whom.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = [os.path.join("lib", "cmake", "wpk")]
