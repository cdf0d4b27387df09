from support.fixtures import application, build, checkout, installer, sanitizers, scene  # noqa: F401


def pytest_collection_modifyitems(items):
    items.sort(key=lambda item: item.get_closest_marker("full") is None)
