"""The names that the fault sweep gives to places."""

import pytest
from fault_sweep import symbols

FUNCTIONS = [
    ("quendal::(anonymous namespace)::send(std::span<std::byte const, 2ul>) [clone .cold]",
     "quendal::send"),
    ("Poco::NObserver<quendal::Handler, Poco::Net::Note>::notify(Poco::Notification*) const",
     "Poco::NObserver::notify"),
    ("void quendal::reply<quendal::lookUp(std::string const&)::{lambda()#1}>(int)", "quendal::reply"),
    ("quendal::File::~File()", "quendal::File::~File"),
    ("operator new(unsigned long)@@GLIBCXX_3.4", "operator-new"),
    ("pthread_create@@GLIBC_2.34", "pthread_create"),
]


@pytest.mark.parametrize(("symbol", "name"), FUNCTIONS)
def test_name_without_arguments(symbol, name):
    assert symbols._plain(symbol) == name


@pytest.fixture(name="title")
def _title(monkeypatch):
    """Titles for stacks of functions that each take 0x10 bytes, the first one from 0x100."""
    def title(names, offsets):
        known = [(name, 0x110 + 0x10 * index) for index, name in enumerate(names)]
        monkeypatch.setattr(symbols, "_table", lambda path: ([end - 0x10 for _, end in known], known))
        return symbols.Symbols("/bin/program").title([("/lib/library.so", offset) for offset in offsets])

    return title


def test_title_is_the_innermost_functions_and_then_those_of_the_service(title):
    names = ["std::basic_filebuf::underflow", "Poco::A", "Poco::B", "Poco::C", "quendal::d", "main"]

    assert title(names, [0x104, 0x114, 0x124, 0x134, 0x144, 0x154]) == "Poco::A < Poco::B < d"


def test_return_address_behind_a_function_s_end_belongs_to_that_function(title):
    assert title(["a", "b"], [0x110]) == "a"


def test_place_that_no_function_covers_is_named_after_its_module(title):
    assert title(["a"], [0x50, 0x500]) == "(library.so)"
