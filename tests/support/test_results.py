"""Runs the tests of a script and writes their results as the other test programs do."""

import unittest
from xml.sax.saxutils import quoteattr


class Results(unittest.TextTestResult):
    """Records every test in the format of the other test programs, for scripts/test-summary."""

    program = ""

    def __init__(self, *arguments, **more):
        super().__init__(*arguments, **more)
        self.lines = []

    def note(self, test, inside="", result="completed"):
        # A skipped class has the id "setUpClass (__main__.ClassName)".
        name = test.id().split(".")[-1].rstrip(")")
        self.lines.append(f'<testcase name={quoteattr(name)} status="run" result="{result}" classname="{self.program}">\n'
                          f"{inside}</testcase>\n")

    def addSuccess(self, test):
        super().addSuccess(test)
        self.note(test)

    def addError(self, test, error):
        super().addError(test, error)
        self.note(test, f'<failure message={quoteattr(str(error[1]))}></failure>\n')

    addFailure = addError

    def addSkip(self, test, reason):
        super().addSkip(test, reason)
        print(f"skipped: {reason}")
        self.note(test, f"<skipped message={quoteattr(reason)}/>\n", "skipped")


def run(module, program, path):
    """Runs the module's tests, writes the results of `program` to the path, and returns the exit code."""
    Results.program = program
    suite = unittest.defaultTestLoader.loadTestsFromModule(module)
    result = unittest.TextTestRunner(verbosity=2, resultclass=Results).run(suite)
    with open(path, "w", encoding="utf-8") as out:
        out.write("<testsuites>\n" + "".join(result.lines) + "</testsuites>\n")
    return 0 if result.wasSuccessful() else 1
