#!/usr/bin/env python3
"""conan.py RECIPE_FOLDER WORK_FOLDER VERSION: carries out a recipe's steps, with plain CMake in place of Conan's classes of
these names. The package comes to WORK_FOLDER/package."""
import importlib.util
import pathlib
import shutil
import subprocess
import sys
import types

recipe_folder, work, version = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]), sys.argv[3]


class Properties:
    def set_property(self, name, value):
        setattr(self, name, value)


class ConanFile:
    def __init__(self):
        self.recipe_folder = str(recipe_folder)
        self.export_sources_folder = self.source_folder = str(work / "sources")
        self.build_folder, self.package_folder = str(work / "build"), str(work / "package")
        self.cpp_info = Properties()


class CMakeToolchain:
    def __init__(self, recipe):
        self.recipe, self.cache_variables = recipe, {}

    def generate(self):
        self.recipe.options_of_test = [f"-D{name}={'ON' if value else 'OFF'}" for name, value in self.cache_variables.items()]


class CMake:
    def __init__(self, recipe):
        self.recipe = recipe

    def configure(self):
        subprocess.run(["cmake", "-S", self.recipe.source_folder, "-B", self.recipe.build_folder, "-G", "Ninja",
                        "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0", *self.recipe.options_of_test], check=True)

    def build(self):
        subprocess.run(["cmake", "--build", self.recipe.build_folder], check=True)

    def install(self):
        subprocess.run(["cmake", "--install", self.recipe.build_folder, "--prefix", self.recipe.package_folder], check=True)


def copy(_, pattern, source, target):
    """As Conan's: a * stands for folders too."""
    source, folder = pathlib.Path(source), pathlib.PurePath(pattern).parent
    for found in (source / folder).glob("**/*" if folder.name else pattern):
        if found.is_file():
            place = pathlib.Path(target) / found.relative_to(source)
            place.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(found, place)


def provide(name, **members):
    module = sys.modules[name] = types.ModuleType(name)
    vars(module).update(members)


def main():
    provide("conan", ConanFile=ConanFile)
    provide("conan.tools")
    provide("conan.tools.cmake", CMake=CMake, CMakeToolchain=CMakeToolchain, cmake_layout=lambda recipe: None)
    provide("conan.tools.files", copy=copy, load=lambda _, path: pathlib.Path(path).read_text(encoding="utf-8"))
    spec = importlib.util.spec_from_file_location("recipe", recipe_folder / "conanfile.py")
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)

    recipe = module.WpkConan()
    for step in ("set_version", "export_sources", "layout", "generate", "build", "package", "package_info"):
        getattr(recipe, step)()
    assert recipe.version == version, recipe.version
    for folder in recipe.cpp_info.builddirs:
        assert (work / "package" / folder / "wpkConfig.cmake").exists(), folder
    assert (work / "package" / "licenses" / "LICENSE").exists()


main()
