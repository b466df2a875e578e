"""What the program writes as JSON is what the installed schemas say, and these say enough."""

import copy
import json
import os

import jsonschema  # Debian: python3-jsonschema

from support import BEGIN, NAMELESS, SECOND, STARTUP, Case, drive, record

SCHEMAS = os.path.join(os.environ["VEKTRACE_SOURCE"], "tools", "vektrace", "schema")


def validator(name):
    with open(os.path.join(SCHEMAS, name + ".json"), encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft7Validator.check_schema(schema)
    return jsonschema.Draft7Validator(schema)


class Schemas(Case):
    def setUp(self):
        super().setUp()
        self.write(
            "a.vkt",
            record(STARTUP, BEGIN + 9 * SECOND),
            record(STARTUP, BEGIN, b"x"),
            record(NAMELESS, 2**64 - 1, b"\xff"),
            *drive(5),
            b"\x00" * 99,
            *drive(5),
            record(STARTUP, BEGIN, b"".join(drive(3))),
            *drive(2),
        )
        self.write("empty.vkt")

    def check(self, schema, objects):
        judge = validator(schema)
        self.assertGreater(len(objects), 0)
        for instance in objects:
            judge.validate(instance)

    def lines(self, *arguments):
        result = self.run_program(*arguments, "a.vkt", "empty.vkt", expect=3)
        return [json.loads(line) for line in result.lines]

    def test_dump(self):
        objects = self.lines("dump", "--format=jsonl")
        self.assertEqual({o["kind"] for o in objects}, {"record", "gap"})
        self.assertEqual(
            {o.get("decoding") for o in objects}, {"done", "unregistered", "refused", None}
        )
        self.check("vektrace.dump.1", objects)
        self.check("vektrace.dump.1", self.lines("dump", "--format=jsonl", "--hex"))

    def test_check(self):
        objects = self.lines("check", "--format=jsonl")
        self.assertEqual(
            {o["kind"] for o in objects},
            {"gap", "refused", "ambiguous", "backward", "leap", "verdict"},
        )
        self.check("vektrace.check.1", objects)

    def test_info(self):
        text = self.run_program("info", "--format=json", "a.vkt", "empty.vkt", expect=3).text
        self.check("vektrace.info.1", [json.loads(text)])

    def test_refuse_members_that_are_missing_or_unknown(self):
        for schema, verb in (("vektrace.dump.1", "dump"), ("vektrace.check.1", "check")):
            judge = validator(schema)
            for instance in self.lines(verb, "--format=jsonl"):
                extended = dict(instance, unknown=1)
                self.assertFalse(judge.is_valid(extended), extended)
                for member in ("schema", "file", "kind"):
                    lessened = copy.copy(instance)
                    del lessened[member]
                    self.assertFalse(judge.is_valid(lessened), lessened)

    def test_there_is_one_for_every_output_in_json(self):
        names = sorted(os.listdir(SCHEMAS))
        for name in names:
            validator(name[: -len(".json")])
        self.assertLessEqual(
            {"vektrace.check.1.json", "vektrace.dump.1.json", "vektrace.info.1.json"}, set(names)
        )
