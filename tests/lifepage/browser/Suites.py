"""Runs suites of the page one behind the other in one browser.

usage: Suites.py <folder of the pages that were written> <folder of axe-core> <suite>...
"""
import sys
import unittest

suites = unittest.defaultTestLoader.loadTestsFromNames([f"{name}Test" for name in sys.argv[3:]])
sys.exit(not unittest.TextTestRunner(verbosity=2).run(suites).wasSuccessful())
