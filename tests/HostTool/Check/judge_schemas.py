"""Judges documents by the schemas with a validator that shares nothing with the linter's.

usage: judge_schemas.py SCHEMAS KIND DOCUMENT...

Prints "valid" or "invalid" for each document, in their order.
"""

import json
import pathlib
import sys
import warnings

warnings.simplefilter("ignore", DeprecationWarning)
import jsonschema


def load_schemas(folder):
    schemas = {}
    for path in folder.glob("*.schema.json"):
        schema = json.loads(path.read_text())
        jsonschema.Draft4Validator.check_schema(schema)
        schemas[path.resolve().as_uri()] = schema
    return schemas


def main(folder, kind, *documents):
    folder = pathlib.Path(folder)
    schemas = load_schemas(folder)
    uri = (folder / (kind + ".schema.json")).resolve().as_uri()
    resolver = jsonschema.RefResolver(uri, schemas[uri], store=schemas)
    validator = jsonschema.Draft4Validator(schemas[uri], resolver=resolver)
    for document in documents:
        value = json.loads(pathlib.Path(document).read_text())
        print("valid" if validator.is_valid(value) else "invalid")


main(*sys.argv[1:])
