"""Tools around the file-reception service. Each folder is one room; tests/tools/test_import_directions.py says
which of them may use which."""
