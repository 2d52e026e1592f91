#!/usr/bin/env python3
"""The schema of scenarios takes and refuses the same examples as the reader.

usage: schema_test.py TREE
"""

import json
import pathlib
import sys

import jsonschema
import yaml


def refusal_of(path, validator):
    """Who refuses a scenario: "yaml", "schema", or nobody."""
    try:
        content = yaml.safe_load(path.read_bytes())
    except yaml.YAMLError:
        return "yaml"
    return None if validator.is_valid(content) else "schema"


def listed_mistakes(folder):
    """(file, who refuses it) of each example of a mistake; "reader" if only the reader does."""
    for line in (folder / "mistakes.txt").read_text().splitlines():
        if not line.startswith("#"):
            name, _, refused_by = line.split()[:3]
            yield folder / f"{name}.yaml", refused_by


def complaints_about(tree):
    schema = json.loads((tree / "docs/scenario.schema.json").read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    examples = tree / "tests/platform/zulscenario/examples"
    good = [*(examples / "good").glob("*.yaml"), *(tree / "examples/scenarios").glob("*.yaml")]
    bad = list(listed_mistakes(examples / "bad"))
    if len(good) < 20 or len(bad) < 100:
        yield f"only {len(good)} good and {len(bad)} bad examples were found"
    for path in good:
        if refusal := refusal_of(path, validator):
            yield f"{path}: is good, but refused by {refusal}"
    for path, refused_by in bad:
        refusal = refusal_of(path, validator) or "reader"
        if refusal != refused_by:
            yield f"{path}: is refused by {refusal}, the list says {refused_by}"


def main():
    complaints = list(complaints_about(pathlib.Path(sys.argv[1])))
    for complaint in complaints:
        print(complaint)
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
