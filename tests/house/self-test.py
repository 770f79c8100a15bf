#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Shows each check a tree or library with one fault, and the same without it."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

CHECKS = pathlib.Path(__file__).resolve().parent


class CheckTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.tree = pathlib.Path(directory.name).resolve()

    def write(self, path, text):
        file = self.tree / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text)
        return file

    def run_check(self, name, *arguments):
        return subprocess.run([CHECKS / name, *arguments], capture_output=True, text=True)

    def assert_passes(self, result):
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))

    def assert_fails(self, result, *words):
        self.assertEqual((result.returncode, result.stderr), (1, ""))
        for word in words:
            self.assertIn(word, result.stdout)


class Includes(CheckTest):
    ALLOWED = {
        "a standard header": ("src/a.cpp", "<vector>"),
        "a system header": ("service/a.cpp", "<sys/stat.h>"),
        "a library of the room": ("service/a.cpp", "<systemd/sd-bus.h>"),
        "a header of a lower room": ("src/a.cpp", "<msg-consumer-common/db.h>"),
        "a file outside every room": ("docs/a.cpp", "<sqlite3.h>"),
    }
    REFUSED = {
        "the database in the client library": ("src/a.cpp", "<sqlite3.h>"),
        "the bus in the front end": ("src/a.cpp", "<gio/gio.h>"),
        "a record in the transport": ("src/ipc/a.cpp", "<msg-consumer-common/Message.h>"),
        "the client library in the service": ("service/a.cpp", "<msg-consumer/msg-consumer-client.h>"),
        "the store in a tool": ("tools/a.cpp", "<msg-consumer-common/db.h>"),
        "a class in a tool": ("tools/a.cpp", "<msg-consumer/ipc/IPCProxy.h>"),
        "a query in the schema": ("store/schema/a.cpp", "<msg-consumer-common/db.h>"),
        "the database in a header of the store": ("store/include/msg-consumer-common/a.h", "<sqlite3.h>"),
        "a library that nobody named": ("src/a.cpp", "<boost/optional.hpp>"),
        "a file of another room in quotes": ("tools/a.cpp", '"../src/own.hpp"'),
        "a file that is nowhere": ("src/a.cpp", '"nowhere.hpp"'),
    }

    def check(self, path, header):
        self.write("src/own.hpp", "")
        self.write(path, f"\n#include {header}\n")
        return self.run_check("check-includes", self.tree)

    def test_what_the_table_allows_passes(self):
        for what, (path, header) in self.ALLOWED.items():
            with self.subTest(what):
                self.setUp()
                self.assert_passes(self.check(path, header))

    def test_what_the_table_does_not_allow_is_named_with_its_place(self):
        for what, (path, header) in self.REFUSED.items():
            with self.subTest(what):
                self.setUp()
                self.assert_fails(self.check(path, header), f"{path}:2:", header.strip('<>"'))

    def test_a_room_includes_its_own_files_and_those_that_it_uses(self):
        self.write("src/ipc/lower.hpp", "")
        self.write("src/own.hpp", "")
        self.write("src/a.cpp", '#include "own.hpp"\n#include "ipc/lower.hpp"\n')
        self.write("store/schema/text.hpp", "")
        self.write("service/a.cpp", '#include "schema/text.hpp"\n')
        self.assert_passes(self.run_check("check-includes", self.tree))

    def test_a_lower_room_does_not_include_files_of_a_higher_one(self):
        self.write("src/own.hpp", "")
        self.write("src/ipc/a.cpp", '#include "../own.hpp"\n')
        self.assert_fails(self.run_check("check-includes", self.tree), "src/ipc/a.cpp:1:")


class Exports(CheckTest):
    HEADER = """
        #include <string>
        #pragma GCC visibility push(default)
        extern "C" {
        typedef struct { int number; } plain_record;
        typedef void (*callback)(int);
        /** Not a declaration: int in_a_comment(void); */
        int c_function(callback function,
                       int number);
        }
        namespace outer::inner {
        enum Code { ONE, TWO };
        inline int in_place() { return 1; }
        int function(int number);
        class Interface {
         public:
          virtual ~Interface() = default;
          virtual int operation() = 0;
        };
        class Whole : public Interface {
         public:
          Whole();
          Whole(const Whole&) = delete;
          Whole& operator=(const Whole& other);
          ~Whole() override;
          int operation() override;
          std::string text() const;
          int small() const { return 1; }
          static Whole* instance;
          int number = 0;
        };
        }
        #pragma GCC visibility pop
    """
    SOURCE = """
        #include "header.h"
        int c_function(callback, int) { return 0; }
        namespace outer::inner {
        int function(int) { return 0; }
        Whole::Whole() = default;
        Whole::~Whole() = default;
        Whole& Whole::operator=(const Whole&) { return *this; }
        int Whole::operation() { return 0; }
        std::string Whole::text() const { throw 0; }
        Whole* Whole::instance = nullptr;
        }
    """

    def check(self, header, source, hidden="nothing"):
        header = self.write("header.h", header)
        source = self.write("source.cpp", source)
        version_script = self.write("library.map", f"{{ local: {hidden}; }};")
        library = self.tree / "library.so"
        subprocess.run([os.environ.get("CXX", "c++"), "-std=c++20", "-shared", "-fPIC", "-fvisibility=hidden", source,
                        f"-Wl,--version-script={version_script}", "-o", library], check=True)
        return self.run_check("check-exports", library, header)

    def test_a_library_that_keeps_its_headers_promise_passes(self):
        self.assert_passes(self.check(self.HEADER, self.SOURCE))

    def test_a_declared_name_that_is_not_exported_is_named(self):
        symbols = {
            "c_function": "*c_function*",
            "outer::inner::function": "*inner8function*",
            "outer::inner::Whole::operation": "*Whole9operation*",
            "outer::inner::Whole::operator=": "*WholeaS*",
            "outer::inner::Whole::text": "*Whole4text*",
            "outer::inner::Whole::instance": "*Whole8instance*",
        }
        for name, symbol in symbols.items():
            with self.subTest(name):
                self.assert_fails(self.check(self.HEADER, self.SOURCE, hidden=symbol),
                                  f"{name} is declared and not exported")

    def test_an_exported_name_that_is_not_declared_is_named(self):
        added = {
            "extra_function": 'extern "C" __attribute__((visibility("default"))) int extra_function() { return 0; }',
            "outer::extra": '__attribute__((visibility("default"))) int extra() { return 0; }',
            "outer::Extra::run": 'struct __attribute__((visibility("default"))) Extra { void run(); };'
                                 "void Extra::run() {}",
        }
        for name, text in added.items():
            with self.subTest(name):
                scope = f"namespace outer {{ {text} }}" if "::" in name else text
                self.assert_fails(self.check(self.HEADER, self.SOURCE + scope), f"{name} is exported and not declared")


class Headers(CheckTest):
    FAULTY = {
        "a type that it does not include": "std::string text();",
        "no include guard": "struct Twice {};",
        "a warning": "inline int unused(int number) { return 1; }",
    }

    def check(self, text):
        header = self.write("header.hpp", text)
        command = [os.environ.get("CXX", "c++"), "-x", "c++", "-std=c++20", "-Wall", "-Wextra", "-Werror"]
        return self.run_check("check-headers", *command, "--", header.parent)

    def test_a_header_that_stands_alone_passes(self):
        self.assert_passes(self.check("#pragma once\n#include <string>\nstd::string text();\n"))

    def test_a_header_that_does_not_stand_alone_is_named(self):
        for what, text in self.FAULTY.items():
            with self.subTest(what):
                self.assert_fails(self.check(text), "header.hpp does not compile on its own")


class Listings(CheckTest):
    def check(self, text):
        document = self.write("document.md", f"# Title\n\n```c\n{text}\n```\n")
        compilers = [os.environ.get("CC", "cc"), os.environ.get("CXX", "c++")]
        return self.run_check("check-listings", *compilers, "-Werror", "--", document)

    def test_a_listing_that_compiles_passes(self):
        self.assert_passes(self.check("int main(void) { return 0; }"))

    def test_a_listing_that_does_not_compile_is_named_with_its_line(self):
        self.assert_fails(self.check("int main(void) { return number; }"), "document.md:3: does not compile")


class Manual(CheckTest):
    MANDOC = shutil.which("mandoc") or ""
    PAGE = '.TH TOOL 1 "2026-01-01"\n.SH NAME\ntool \\- a tool\n'

    @unittest.skipUnless(MANDOC, "mandoc is not installed")
    def test_a_page_that_is_well_formed_passes(self):
        self.assert_passes(self.run_check("check-manual", self.MANDOC, self.write("tool.1", self.PAGE)))

    @unittest.skipUnless(MANDOC, "mandoc is not installed")
    def test_a_page_with_a_mistake_is_named_with_its_line(self):
        page = self.write("tool.1", self.PAGE + ".XY\n")
        self.assert_fails(self.run_check("check-manual", self.MANDOC, page), "tool.1:4:")


class Options(CheckTest):
    PAGE = ".SH OPTIONS\n.TP\n.BI \\-\\-file \" FILE\"\nUnlike\n.BR \\-\\-other .\n.SH SEE ALSO\n"

    def check(self, text):
        tool = self.write("tool", f"#!/bin/sh\nprintf %s '{text}'\n")
        tool.chmod(0o755)
        return self.run_check("check-options", tool, self.write("tool.1", self.PAGE))

    def test_a_page_with_the_options_of_the_help_passes(self):
        self.assert_passes(self.check("other --verbose\n  --file FILE  like --other"))

    def test_an_option_that_the_page_lacks_is_named(self):
        self.assert_fails(self.check("  --file FILE\n  -n, --dry-run"), "--dry-run is missing")

    def test_an_option_that_is_gone_is_named(self):
        self.assert_fails(self.check("nothing"), "--file is unknown")


class PlainService(CheckTest):
    MARKS = ("8emulator", "consumer.emulator", "InvalidStep", "full-disk", "sqlite3_commit_hook", "sqlite3_vfs_register")

    def check(self, service, emulator):
        return self.run_check("check-plain-service", self.write("service", service), self.write("emulator", emulator))

    def test_a_service_of_its_own_passes(self):
        self.assert_passes(self.check("service", " ".join(self.MARKS)))

    def test_each_trace_of_the_emulator_is_named(self):
        for mark in self.MARKS:
            with self.subTest(mark):
                self.assert_fails(self.check(f"service {mark} more", " ".join(self.MARKS)), f"service holds {mark}")

    def test_a_mark_that_proves_nothing_is_named(self):
        for mark in self.MARKS:
            with self.subTest(mark):
                rest = " ".join(other for other in self.MARKS if other != mark)
                self.assert_fails(self.check("service", rest), f"emulator does not hold {mark}")


class Commands(CheckTest):
    OUTLINE = {"item": {"name": "", "hidden": False, "commands": [
        {"name": "list", "hidden": False, "commands": []}, {"name": "secret", "hidden": True, "commands": []}]}}

    def check(self, declared, table, source):
        tool = self.write("tool", f"#!/bin/sh\necho '{json.dumps(self.OUTLINE)}'\n")
        tool.chmod(0o755)
        header = self.write("client.h", "/** msg_consumer_in_a_comment() */\n" + declared)
        self.write("source/a.cpp", source)
        return self.run_check("check-commands", tool, header, self.write("table.toml", table), self.tree / "source")

    def test_functions_that_all_have_a_command_pass(self):
        self.assert_passes(self.check("int msg_consumer_list(void);", 'msg_consumer_list = "list"',
                                      "msg_consumer_list();"))

    def test_a_new_function_without_a_command_is_named(self):
        self.assert_fails(self.check("int msg_consumer_new(int a);", "", ""), "msg_consumer_new has no command")

    def test_a_command_that_is_not_there_for_people_is_named(self):
        for command in ("gone", "secret"):
            with self.subTest(command):
                self.assert_fails(self.check("int msg_consumer_list(void);", f'msg_consumer_list = "{command}"',
                                             "msg_consumer_list();"), f"'msgctl {command}', and there is no such")

    def test_a_function_that_is_not_used_is_named(self):
        self.assert_fails(self.check("int msg_consumer_list(void);", 'msg_consumer_list = "list"',
                                     "// msg_consumer_list();"), "does not use it")

    def test_a_function_that_is_gone_is_named(self):
        self.assert_fails(self.check("", 'msg_consumer_list = "list"', ""), "does not declare")


if __name__ == "__main__":
    unittest.main()
