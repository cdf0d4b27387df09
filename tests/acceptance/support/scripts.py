"""Python scripts of this project whose names have no suffix."""

import importlib.machinery
import importlib.util


def load(path):
    """The script as a module."""
    loader = importlib.machinery.SourceFileLoader(path.name, str(path))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(path.name, loader))
    loader.exec_module(module)
    return module
