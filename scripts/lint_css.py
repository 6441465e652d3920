"""Checks style sheets: lint_css.py STYLE... --used-by FILE...

Reports what does not parse, a property that stands twice in a rule, a selector that stands twice, a variable that is
not defined, and an id or a class that occurs in none of the files given with --used-by.
"""

import argparse
import re
import sys

import tinycss2


class Style:
    def __init__(self, path, users):
        self.path = path
        self.users = users
        self.faults = []
        self.defined = set()
        self.variables = []

    def fault(self, node, text):
        self.faults.append(f"{self.path}:{node.source_line}:{node.source_column}: {text}")

    def check(self):
        with open(self.path, encoding="utf-8") as file:
            nodes = tinycss2.parse_stylesheet(file.read(), skip_comments=True, skip_whitespace=True)
        self.check_rules(nodes)
        for node, name in self.variables:
            if name not in self.defined:
                self.fault(node, f"the variable {name} is not defined")
        return self.faults

    def check_rules(self, nodes):
        selectors = set()
        for node in nodes:
            if node.type == "error":
                self.fault(node, node.message)
            elif node.type == "at-rule":
                self.check_at_rule(node)
            else:
                selector = tinycss2.serialize(node.prelude).strip()
                if selector in selectors:
                    self.fault(node, f"the selector {selector} stands twice")
                selectors.add(selector)
                self.check_selector(node.prelude)
                self.check_declarations(node.content)

    def check_at_rule(self, node):
        if node.lower_at_keyword != "media":
            self.fault(node, f"@{node.at_keyword} is not known here")
        elif node.content is not None:
            self.check_rules(tinycss2.parse_rule_list(node.content, skip_comments=True, skip_whitespace=True))

    def check_selector(self, tokens):
        before = None
        for token in tokens:
            if token.type == "hash":
                self.check_used(token, token.value)
            elif token.type == "ident" and before == ".":
                self.check_used(token, token.value)
            before = token.value if token.type == "literal" else None

    def check_used(self, token, name):
        if not re.search(rf"(?<![\w-]){re.escape(name)}(?![\w-])", self.users):
            self.fault(token, f"nothing is called {name}")

    def check_declarations(self, tokens):
        names = set()
        for node in tinycss2.parse_declaration_list(tokens, skip_comments=True, skip_whitespace=True):
            if node.type != "declaration":
                self.fault(node, getattr(node, "message", "no declaration"))
                continue
            if node.name in names:
                self.fault(node, f"{node.name} stands twice in this rule")
            if not node.value:
                self.fault(node, f"{node.name} has no value")
            names.add(node.name)
            if node.name.startswith("--"):
                self.defined.add(node.name)
            self.collect_variables(node.value)

    def collect_variables(self, tokens):
        for token in tokens:
            if token.type == "error":
                self.fault(token, token.message)
            if token.type != "function":
                continue
            if token.lower_name == "var":
                self.variables += [(token, inner.value) for inner in token.arguments if inner.type == "ident"]
            self.collect_variables(token.arguments)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("styles", nargs="+")
    parser.add_argument("--used-by", nargs="+", required=True)
    arguments = parser.parse_args()
    users = ""
    for path in arguments.used_by:
        with open(path, encoding="utf-8") as file:
            users += file.read()
    faults = [fault for path in arguments.styles for fault in Style(path, users).check()]
    print("\n".join(faults), end="\n" if faults else "")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
