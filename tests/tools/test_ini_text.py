"""Ini texts as the service reads them."""

import pytest

from quendal_tools.configuration import ini_text

KEY = "new_local_dist_task.filelist"


@pytest.mark.parametrize(("text", "value"), [
    pytest.param("[new_local_dist_task]\nfileList=a", "a", id="plain"),
    pytest.param("[new_local_dist_task]\r\nfileList = a \r\n", "a", id="blanks and line ends of another system"),
    pytest.param("[ NEW_LOCAL_DIST_TASK ]\nFILELIST=a", "a", id="capital letters"),
    pytest.param("new_local_dist_task.fileList=a", "a", id="section within the key"),
    pytest.param("[new_local_dist_task]\nfileList=a\nfileList=b", "b", id="the last of two"),
    pytest.param("[new_local_dist_task] fileList=a", "a", id="behind the section"),
    pytest.param("[new_local_dist_task\nfileList=a", "a", id="section without its end"),
    pytest.param("[new_local_dist_task]\nfileList=a;b#c", "a;b#c", id="no comment behind a value"),
    pytest.param("[new_local_dist_task]\nfileList", "", id="no value"),
    pytest.param("[new_local_dist_task]\n;fileList=a", None, id="comment"),
    pytest.param("\xef\xbb\xbf[new_local_dist_task]\nfileList=a", None, id="byte-order mark"),
    pytest.param("[other]\nfileList=a", None, id="another section"),
    pytest.param("", None, id="empty"),
])
def test_the_list_of_files_is_found_as_the_service_finds_it(text, value):
    assert ini_text.read(text).get(KEY) == value
