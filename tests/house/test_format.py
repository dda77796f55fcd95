# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""The C++ files are formatted as .clang-format says."""

import subprocess

import tree


def complaints(names):
    command = ["clang-format", "--dry-run", "-Werror", "--style=file", *map(str, names)]
    done = subprocess.run(command, cwd=tree.ROOT, capture_output=True, encoding="utf-8")
    return done.returncode, done.stderr


def test_the_cpp_files_are_formatted():
    names = [name for name in tree.files() if tree.is_cpp(name)]
    assert names, "no C++ file found"
    code, errors = complaints(names)
    assert code == 0, errors


def test_a_badly_formatted_file_is_found(tmp_path):
    (tmp_path / ".clang-format").write_text(tree.text(".clang-format"))
    (tmp_path / "bad.cpp").write_text("int  main( ){return 0 ;}\n")
    code, errors = complaints([tmp_path / "bad.cpp"])
    assert code != 0 and "bad.cpp" in errors
