"""The headers say all that they must, and what is made from them is what they say."""

import ast
import math
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tools"))

import interface  # noqa: E402

TOOLS = ("make_python_binding.py", "make_interface_calls.py")


def run_tool(root, tool):
    command = [sys.executable, "-B", str(root / "tools" / tool), "--check"]
    return subprocess.run(command, capture_output=True, text=True)


def source_defaults():
    """Initial values of the properties of all classes, by (class, name), as their sources spell them."""
    found = {}
    constants = {}
    for folder in ("core", "trx", "modes", "radios"):
        for path in (ROOT / folder).rglob("*.hpp"):
            text = path.read_text()
            for name, value in re.findall(r"constexpr [\w:]+ (k\w+) = ([\w* ]+);", text):
                constants[name] = value
            for owner, body in re.findall(r"\nclass (\w+)[^;{]*\{(.*?)\n\};", text, re.S):
                for declared in re.findall(r"asyncProperty<[\w: ]+>\s+([^;]+);", body):
                    for name, value in re.findall(r"(\w+)(?:\{([^}]*)\})?", declared):
                        found[owner, name] = value.strip()

    def plain(value):
        """A constant such as 2 * kBank as a number."""
        factors = [plain(constants[factor]) if factor in constants else factor for factor in value.split(" * ")]
        return str(math.prod(map(int, factors))) if len(factors) > 1 else factors[0]

    return {key: plain(value) for key, value in found.items()}


class Headers(unittest.TestCase):
    whole = interface.read()

    def test_every_function_is_told_about(self):
        for function in self.whole.functions.values():
            stem, _, rest = function.name.partition("_")
            if rest in ("create", "release") and stem in self.whole.classes:
                self.assertTrue(self.whole.classes[stem].comment or function.comment, function.name)
            else:
                self.assertGreater(len(function.comment), 5, function.name)

    def test_every_property_has_its_effect_and_its_default(self):
        sources = source_defaults()
        compared = 0
        for one in self.whole.classes.values():
            for member in one.members.values():
                if member.kind != "property":
                    continue
                where = f"{one.name}.{member.name}: {member.comment}"
                self.assertTrue(member.comment.startswith(member.name + ":"), where)
                self.assertRegex(member.comment, "[Dd]efault", where)
                told = interface.default_of(member)
                if told is None or member.is_object:
                    self.assertIn((one.name, member.name), {("vtrx", "audioInput"), ("vtrx", "audioOutput"), ("vtrx", "rxagc"),
                                                            ("vtrx", "txagc"), ("HpsdrRadio", "FilterSet")}, where)
                    continue
                spelled = sources[one.name, member.name].rstrip("f")
                real = {"true": True, "false": False}.get(spelled, spelled)
                self.assertEqual(told, "" if told == "" else type(told)(real or 0), where)
                compared += 1
        self.assertGreater(compared, 170)

    def test_events_say_what_they_bring(self):
        for one in self.whole.classes.values():
            for member in one.members.values():
                if member.kind == "event":
                    self.assertTrue(member.comment.startswith(member.name + ":"), f"{one.name}.{member.name}")

    def test_page_one_tells_what_holds_for_all(self):
        page = (interface.HEADERS / "ferrowcore.h").read_text()
        for topic in ("Life cycle.", "Handles.", "Ownership.", "Nulls.", "Threads.", "When a value takes effect.", "Values.",
                      "Strings", "Errors."):
            self.assertIn(f"* {topic}", page)
        included = set(re.findall(r"<ferrowcore/(\w+\.h)>", page))
        self.assertEqual(included | {"ferrowcore.h", "export.h"}, {path.name for path in interface.HEADERS.glob("*.h")})

    def test_no_line_is_too_long(self):
        for path in interface.HEADERS.glob("*.h"):
            for number, line in enumerate(path.read_text().split("\n"), 1):
                self.assertLessEqual(len(line), 140, f"{path.name}:{number}")


class Generated(unittest.TestCase):
    def test_is_what_the_headers_say(self):
        for tool in TOOLS:
            done = run_tool(ROOT, tool)
            self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_a_changed_header_is_noticed(self):
        with tempfile.TemporaryDirectory() as folder:
            root = Path(folder)
            for part in ("tools", "include", "bindings/python/ferrowcore"):
                shutil.copytree(ROOT / part, root / part)
            (root / "tests/api").mkdir(parents=True)
            shutil.copy(ROOT / "tests/api/interface_calls.inc", root / "tests/api")
            agc = root / "include/ferrowcore/agc.h"
            agc.write_text(agc.read_text().replace("agc_setHang(void* handle, float value)", "agc_setHang(void* handle, double value)")
                           .replace("(*callback)(float value)", "(*callback)(double value)"))
            for tool in TOOLS:
                done = run_tool(root, tool)
                self.assertEqual(done.returncode, 1, tool)
                self.assertIn("agc", done.stdout)

    def test_stubs_and_classes_have_the_same_members(self):
        package = ROOT / "bindings/python/ferrowcore"

        def members(path):
            found = {}
            for node in ast.parse(path.read_text()).body:
                if isinstance(node, ast.ClassDef):
                    names = {n.name for n in node.body if isinstance(n, ast.FunctionDef)}
                    names |= {t.id for n in node.body if isinstance(n, ast.Assign) for t in n.targets}
                    found[node.name] = names - {"_name", "__init__"}
            return found

        self.assertEqual(members(package / "_classes.py"), members(package / "_classes.pyi"))
        for stub in package.glob("*.pyi"):
            ast.parse(stub.read_text())


if __name__ == "__main__":
    unittest.main()
