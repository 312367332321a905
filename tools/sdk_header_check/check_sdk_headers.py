#!/usr/bin/env python3
"""Compare bcmsim's SDK headers with the SDK's own, name by name.

Usage: check_sdk_headers.py SDK_INCLUDE_DIR [--ours DIR] [-D NAME[=VALUE]]...

Every enumerator, numeric macro, function declaration and struct that bcmsim's headers declare
is looked up by name anywhere under SDK_INCLUDE_DIR and compared: enumerator and macro values
after evaluation, function return and parameter types (parameter names ignored), struct fields
in order with their types and array sizes. Prints the figures per kind and every difference;
exits 1 when something differs.

Conditional blocks are followed as the preprocessor would for the build the -D options describe
(by default an XGS build of the Tomahawk family), with every header read in one pass in path
order, so a macro defined in one header is known to the headers read after it.
"""
import argparse
import os
import re
import sys
import warnings

SUBDIRS = ("bcm", "shared", "sal", "soc")
# What a switch (XGS "esw") build for a Tomahawk device defines.
DEFAULT_DEFINES = ["__STDC__", "BCM_ESW_SUPPORT", "BCM_XGS_SUPPORT", "BCM_XGS3_SWITCH_SUPPORT",
                   "BCM_TRX_SUPPORT", "BCM_TRIUMPH_SUPPORT", "BCM_TRIUMPH3_SUPPORT",
                   "BCM_TRIDENT_SUPPORT", "BCM_TRIDENT2_SUPPORT", "BCM_TOMAHAWK_SUPPORT",
                   "BCM_56960_A0", "BCM_FIELD_SUPPORT", "INCLUDE_L3"]


def strip_comments(text):
    text = re.sub(r"/\*.*?\*/", " ", text, flags=re.S)
    return re.sub(r"//[^\n]*", " ", text)


def join_continuations(text):
    return text.replace("\\\n", " ")


def header_files(root, subdirs=SUBDIRS):
    for name in sorted(os.listdir(root)):
        if name.endswith(".h"):
            yield os.path.join(root, name)
    for sub in subdirs:
        top = os.path.join(root, sub)
        for folder, _, files in os.walk(top):
            for name in sorted(files):
                if name.endswith(".h"):
                    yield os.path.join(folder, name)


class Preprocessor:
    """Keeps the lines of the active conditional branches and the macros defined on them."""

    def __init__(self, defines):
        self.macros = dict(defines)

    def run(self, text):
        kept, stack = [], []  # stack of (branch active, some branch taken, parent active)
        active = True
        for line in text.split("\n"):
            d = re.match(r"\s*#\s*(\w+)\s*(.*)", line)
            if not d:
                if active:
                    kept.append(line)
                continue
            word, rest = d.group(1), d.group(2).strip()
            if word in ("if", "ifdef", "ifndef"):
                if word == "if":
                    cond = self.condition(rest)
                else:
                    cond = (rest.split()[0] in self.macros) == (word == "ifdef")
                stack.append((active and cond, cond, active))
                active = active and cond
            elif word == "elif" and stack:
                _, taken, parent = stack.pop()
                cond = not taken and self.condition(rest)
                stack.append((parent and cond, taken or cond, parent))
                active = parent and cond
            elif word == "else" and stack:
                _, taken, parent = stack.pop()
                stack.append((parent and not taken, True, parent))
                active = parent and not taken
            elif word == "endif" and stack:
                active = stack.pop()[2]
            elif active and word == "define":
                m = re.match(r"(\w+)(\()?\s*(.*)", rest)
                if m and not m.group(2):
                    self.macros[m.group(1)] = m.group(3).strip()
            elif active and word == "undef":
                self.macros.pop(rest.split()[0], None)
        return "\n".join(kept)

    def condition(self, expr):
        expr = re.sub(r"defined\s*\(\s*(\w+)\s*\)|defined\s+(\w+)",
                      lambda m: "1" if (m.group(1) or m.group(2)) in self.macros else "0", expr)
        value = Evaluator(self.macros, {}).evaluate(expr.replace("&&", " and ").replace(
            "||", " or "), unknown_is_zero=True)
        return bool(value)


class Declarations:
    """What one header tree declares, by name."""

    def __init__(self, defines=()):
        self.preprocessor = Preprocessor({name: value for name, value in defines})
        self.enums = {}  # enumerator -> expression text (or implicit value)
        self.functions = {}  # name -> (return type, [parameter types])
        self.structs = {}  # typedef name -> [(type, name, array)]

    def read_tree(self, root, subdirs=SUBDIRS):
        for path in header_files(root, subdirs):
            with open(path, encoding="latin-1") as f:
                self.read(join_continuations(strip_comments(f.read())))

    @property
    def macros(self):
        return self.preprocessor.macros

    def read(self, text):
        code = self.preprocessor.run(text)
        self.read_enums(code)
        self.read_functions(code)
        self.read_structs(code)

    def read_enums(self, code):
        for m in re.finditer(r"\benum\s*\w*\s*\{([^{}]*)\}", code):
            previous = None
            for item in split_top(m.group(1), ","):
                item = item.strip()
                if not item:
                    continue
                name, _, value = item.partition("=")
                name = name.strip()
                if not re.fullmatch(r"\w+", name):
                    continue
                if value.strip():
                    expr = value.strip()
                elif previous is None:
                    expr = "0"
                else:
                    expr = "(%s) + 1" % previous
                self.enums.setdefault(name, expr)
                previous = name

    def read_functions(self, code):
        flat = re.sub(r'extern\s+"C"\s*\{', ";", code)
        flat = re.sub(r"\)\s*\{[^{}]*\}", ");", flat)  # bodies of inline helpers
        for m in re.finditer(r"(?:^|(?<=[;}]))\s*(?:extern\s+)?((?:const\s+)?\w+(?:\s*\*)*)\s*(\w+)\s*"
                             r"\(([^()]*)\)\s*;", flat):
            ret, name, params = m.group(1), m.group(2), m.group(3)
            if ret in ("return", "typedef", "else") or name in ("if", "while", "for", "sizeof"):
                continue
            self.functions.setdefault(name, (normal_type(ret), parameter_types(params)))

    def read_structs(self, code):
        for m in re.finditer(r"typedef\s+struct\s+\w*\s*\{", code):
            body_start = m.end()
            depth, i = 1, body_start
            while depth and i < len(code):
                depth += {"{": 1, "}": -1}.get(code[i], 0)
                i += 1
            body = code[body_start:i - 1]
            tail = re.match(r"\s*(\w+)\s*;", code[i:])
            if not tail:
                continue
            fields = []
            for decl in split_top(body, ";"):
                decl = " ".join(decl.split())
                if not decl:
                    continue
                fm = re.fullmatch(r"(.+?)\s*\b(\w+)\s*((?:\[[^\]]*\])*)", decl)
                if fm:
                    fields.append((normal_type(fm.group(1)), fm.group(2),
                                   fm.group(3).replace(" ", "")))
            self.structs.setdefault(tail.group(1), fields)


def split_top(text, sep):
    parts, depth, current = [], 0, []
    for ch in text:
        if ch in "({[":
            depth += 1
        elif ch in ")}]":
            depth -= 1
        if ch == sep and depth == 0:
            parts.append("".join(current))
            current = []
        else:
            current.append(ch)
    parts.append("".join(current))
    return parts


def normal_type(text):
    text = re.sub(r"\b(extern|struct)\b", "", text)
    text = re.sub(r"\s*\*\s*", " *", text)
    return " ".join(text.split())


def parameter_types(params):
    params = params.strip()
    if params in ("", "void"):
        return []
    types = []
    for p in split_top(params, ","):
        p = " ".join(p.split())
        arrays = "".join(re.findall(r"\[[^\]]*\]", p))
        p = re.sub(r"\[[^\]]*\]", "", p).strip()
        m = re.fullmatch(r"(.*?[\w*])\s*\b(\w+)", p)
        if m and m.group(1).strip() not in ("", "const", "unsigned", "signed", "struct"):
            p = m.group(1)
        t = normal_type(p)
        if arrays:  # an array parameter is a pointer
            t += " *"
        types.append(t)
    return types


class Evaluator:
    """Evaluates integer expressions of C literals, enumerators and object-like macros."""

    def __init__(self, macros, enums):
        self.macros, self.enums = macros, enums
        self.cache = {}

    def value(self, name, depth=0):
        if name in self.cache:
            return self.cache[name]
        expr = self.macros.get(name, self.enums.get(name))
        result = None if expr is None or depth > 40 else self.evaluate(expr, depth + 1)
        self.cache[name] = result
        return result

    def evaluate(self, expr, depth=0, unknown_is_zero=False):
        text = re.sub(r"\(\s*(?:unsigned\s+)?(?:int|long|uint32|int32|uint16|uint8|"
                      r"uint64|bcm_\w+_t|_shr_\w+_t)\s*\)", "", expr)
        text = re.sub(r"\b(0[xX][0-9a-fA-F]+|\d+)[uUlL]+\b", r"\1", text)

        def name(m):
            if m.group(0) in ("and", "or", "not"):
                return m.group(0)
            v = self.value(m.group(0), depth)
            if v is None:
                if unknown_is_zero:
                    return "0"
                raise ValueError(m.group(0))
            return "(%d)" % v

        try:
            text = re.sub(r"\b[A-Za-z_]\w*\b", name, text)
            if not re.fullmatch(r"[\s\d xXa-fA-F()+\-*/%<>&|^~!=]*|.*\b(and|or|not)\b.*", text):
                return None
            text = text.replace("/", "//").replace("!=", "<>").replace("!", " not ")
            text = text.replace("<>", "!=")
            with warnings.catch_warnings():
                warnings.simplefilter("ignore")
                return int(eval(text, {"__builtins__": {}}, {}))  # digits and operators only
        except (ValueError, SyntaxError, TypeError, ZeroDivisionError):
            return None


def compare(ours, sdk):
    ours_eval, sdk_eval = Evaluator(ours.macros, ours.enums), Evaluator(sdk.macros, sdk.enums)
    report, failed = [], False

    def section(kind, names, same, describe):
        nonlocal failed
        equal, differ, missing = 0, [], []
        for n in sorted(names):
            outcome = same(n)
            if outcome is None:
                missing.append(n)
            elif outcome:
                equal += 1
            else:
                differ.append(n)
        report.append("%s: %d compared, %d equal, %d different, %d not in the SDK" %
                      (kind, len(names), equal, len(differ), len(missing)))
        for n in differ:
            report.append("  differs  %s: ours %s | SDK %s" % ((n,) + describe(n)))
        for n in missing:
            report.append("  missing  %s" % n)
        failed = failed or bool(differ) or bool(missing)

    def value_same(n):
        mine = ours_eval.value(n)
        if n not in sdk.enums and n not in sdk.macros:
            return None
        return mine == sdk_eval.value(n)

    enum_names = list(ours.enums)
    section("enumerators", enum_names, value_same,
            lambda n: (ours_eval.value(n), sdk_eval.value(n)))
    macro_names = [n for n in ours.macros if ours_eval.value(n) is not None and n not in ours.enums]
    section("numeric macros", macro_names, value_same,
            lambda n: (ours_eval.value(n), sdk_eval.value(n)))

    def function_same(n):
        return None if n not in sdk.functions else ours.functions[n] == sdk.functions[n]

    section("functions", list(ours.functions), function_same,
            lambda n: (ours.functions[n], sdk.functions[n]))

    def fields(decls, evaluator, n):
        def size(array):
            dims = re.findall(r"\[([^\]]*)\]", array)
            out = []
            for d in dims:
                v = evaluator.evaluate(d) if d else None
                out.append(v if v is not None else d)
            return out
        return [(t, f, size(a)) for t, f, a in decls.structs[n]]

    def struct_same(n):
        if n not in sdk.structs:
            return None
        return fields(ours, ours_eval, n) == fields(sdk, sdk_eval, n)

    def struct_difference(n):
        a, b = fields(ours, ours_eval, n), fields(sdk, sdk_eval, n)
        for k in range(max(len(a), len(b))):
            if k >= len(a) or k >= len(b) or a[k] != b[k]:
                return ("field %d: %s" % (k, a[k] if k < len(a) else "none"),
                        b[k] if k < len(b) else "none")
        return ("", "")

    section("structs", list(ours.structs), struct_same, struct_difference)
    return report, failed


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("sdk_include", help="the SDK's include directory")
    parser.add_argument("--ours", default=os.path.join(here, "..", "..", "sdk", "include"),
                        help="bcmsim's include directory (default: this repository's)")
    parser.add_argument("-D", dest="defines", action="append", default=None,
                        help="a macro the SDK build defines (replaces the default set)")
    args = parser.parse_args()
    defines = [(d.partition("=")[0], d.partition("=")[2] or "1")
               for d in (args.defines or DEFAULT_DEFINES)]
    ours, sdk = Declarations(), Declarations(defines)
    ours.read_tree(args.ours)
    sdk.read_tree(args.sdk_include)
    report, failed = compare(ours, sdk)
    print("\n".join(report))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
