#!/usr/bin/env python3
"""Compares the JSON document of every command with its schema, and with what the text says.

    json_test.py PROGRAM SCHEMA_FOLDER
"""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

import small_bam

try:
    import jsonschema
except ImportError:
    jsonschema = None

PROGRAM = SCHEMAS = None


def schema(name):
    return json.loads((SCHEMAS / f"{name}.json").read_text(encoding="utf-8"))


class JsonTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.work = pathlib.Path(self.folder.name)
        (self.work / "small.bam").write_bytes(small_bam.small_bam())
        (self.work / "small.sam").write_bytes(small_bam.SMALL_SAM)

    def run_program(self, *words, status=0):
        done = subprocess.run([PROGRAM, *words], cwd=self.work, capture_output=True, check=False)
        self.assertEqual(done.returncode, status, (words, done.stderr))
        return done.stdout

    def document(self, name, *words, status=0):
        """The document, which must be of its schema."""
        document = json.loads(self.run_program(*words, "--json", "-q", status=status))
        jsonschema.Draft202012Validator(schema(name)).validate(document)
        return document

    def table(self, *words):
        """The lines of the text, split at tabs."""
        text = self.run_program(*words, "-q").decode("utf-8", "surrogateescape")
        return [line.split("\t") for line in text.splitlines()]

    def test_every_schema_is_one_and_has_a_test(self):
        names = {path.stem for path in SCHEMAS.glob("*.json")}
        source = pathlib.Path(__file__).read_text(encoding="utf-8")
        for name in names - {"quality"}:
            jsonschema.Draft202012Validator.check_schema(schema(name))
            self.assertIn(f'document("{name}"', source)

    def test_wrong_documents_are_refused(self):
        document = self.document("refs", "refs", "small.sam")
        for change in ({"more": 1}, {"version": 2}, {"references": [{"name": "chr1"}]}):
            with self.assertRaises(jsonschema.ValidationError):
                jsonschema.validate({**document, **change}, schema("refs"))

    def test_info(self):
        for file in ("small.bam", "small.sam"):
            document = self.document("info", "info", file)
            table = self.table("info", file)
            facts = {row[0]: row[1] for row in table if len(row) == 2}
            self.assertEqual(str(document["records"]), facts["records"])
            self.assertEqual("yes" if document["sorted"] else "no", facts["sorted"])
            self.assertEqual(str(document["reference_count"]), facts["references"])
            rows = table[table.index(["reference", "length", "records"]) + 1:]
            self.assertEqual([[row["name"], str(row["length"]), str(row["records"])]
                              for row in document["references"]], rows[:-1])
            self.assertEqual(rows[-1], ["*", "0", str(document["unplaced_records"])])

    def test_header_and_refs(self):
        document = self.document("header", "header", "small.sam")
        self.assertEqual(document["text"].encode(), self.run_program("header", "small.sam"))
        document = self.document("refs", "refs", "small.bam")
        self.assertEqual([[row["name"], str(row["length"])] for row in document["references"]],
                         self.table("refs", "small.bam"))

    def test_sort_and_shuffle(self):
        document = self.document("sort", "sort", "-o", "a.bam", "small.bam")
        self.assertEqual((document["input"], document["output"]), ("small.bam", "a.bam"))
        document = self.document("shuffle", "shuffle", "-s", "7", "-o", "b.bam", "small.bam")
        self.assertEqual(document["seed"], 7)
        self.assertNotIn("seed", self.document("shuffle", "shuffle", "-o", "c.bam", "small.bam"))

    def test_index(self):
        self.assertTrue(self.document("index", "index", "small.bam")["complete"])
        self.assertFalse(self.document("index", "index", "--exact", "small.bam")["complete"])

    def test_view(self):
        document = self.document("view", "view", "-h", "small.sam", "chr1", "*")
        self.assertEqual(document["regions"], ["chr1", "*"])
        lines = ["\t".join([r["name"], str(r["flag"]), r["reference"], str(r["position"]),
                            str(r["mapping_quality"]), r["cigar"], r["mate_reference"],
                            str(r["mate_position"]), str(r["template_length"]), r["sequence"],
                            r["qualities"], *(f'{t["tag"]}:{t["type"]}:{t["value"]}'
                                              for t in r["tags"])])
                 for r in document["records"]]
        text = document["header"] + "".join(line + "\n" for line in lines)
        self.assertEqual(text.encode(), self.run_program("view", "-h", "small.sam", "chr1", "*"))
        self.assertEqual(self.document("view", "view", "-c", "small.bam")["count"], 5)
        for record in self.document("view", "view", "--no-tags", "small.bam")["records"]:
            self.assertNotIn("tags", record)

    def test_fields(self):
        fields = ("Flag,Position,MappingQuality,MatePosition,QueryLength,EndPosition,Signature,"
                  "Sequence,Header,Quality")
        words = ("fields", "--field", fields, "small.bam", "chr1")
        document = self.document("fields", *words)
        self.assertEqual([[str(record[field]) for field in document["fields"]]
                          for record in document["records"]], self.table(*words)[1:])
        self.assertEqual([record["record"] for record in document["records"]], [1, 2, 3])

    def test_count(self):
        words = ("count", "--min-MQ", "8", "small.bam")
        document = self.document("count", *words)
        self.assertEqual({"records": document["records"], **document["dropped"],
                          "kept": document["kept"]},
                         {name: int(number) for name, number in self.table(*words)})
        self.assertEqual(document["records"],
                         document["kept"] + sum(document["dropped"].values()))

    def test_convert(self):
        document = self.document("convert", "convert", "small.sam", "a.fastq")
        self.assertEqual(document["records"], 4)
        self.assertEqual((self.work / "a.fastq").read_bytes().count(b"\n"), 16)
        self.document("convert", "convert", "small.bam", "a.bam")

    def test_check(self):
        self.run_program("index", "small.bam")
        document = self.document("check", "check", "small.bam", "small.bam.bai", status=1)
        table = self.table_of_check("small.bam", "small.bam.bai")
        self.assertEqual([[row["identifier"], str(row["offset"]), str(row["record"]), row["text"]]
                          for row in document["findings"]], table)
        self.assertEqual(document["finding_count"], len(table))
        self.document("check", "check", "small.sam")

    def table_of_check(self, *words):
        done = subprocess.run([PROGRAM, "check", *words], cwd=self.work, capture_output=True,
                              check=False, text=True, errors="surrogateescape")
        rows = [line.split("\t") for line in done.stdout.splitlines()]
        return rows[rows.index(["identifier", "offset", "record", "text"]) + 1:]

    def test_errors(self):
        document = self.document("error", "view", "small.bam", "chrX", status=1)
        self.assertEqual(document["format"], "readkit-view")
        self.assertEqual(document["error"]["file"], "small.bam")
        self.assertEqual(document["error"]["identifier"], "seqlab:readkit:ReferenceIDNotFound")
        self.document("error", "info", "none", status=1)


if __name__ == "__main__":
    PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
    SCHEMAS = pathlib.Path(sys.argv[2]).resolve()
    if jsonschema is None:
        print("skipped: python3-jsonschema is not installed")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1])
