#!/usr/bin/env python3
"""Checks exchanges with a server against an OpenAPI 3.0 document: is there such a request, may it be answered with this
status and type, are the headers there that the document names, and is the body as its schema says?

usage: check-openapi.py DOCUMENT EXCHANGES
"""
import json
import re
import sys

import yaml

PATTERNS = {
    "uuid": r"[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}",
    "date-time": r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z",
    "uri": r"https?://\S+",
}
TYPES = {"object": dict, "array": list, "string": str, "boolean": bool, "integer": (int, float), "number": (int, float)}


class Document:
    def __init__(self, path):
        with open(path, encoding="utf-8") as file:
            self.root = yaml.safe_load(file)
        base = self.root["servers"][0]["url"]
        self.paths = []
        for path, item in self.root["paths"].items():
            whole = path if "servers" in item else base + path
            self.paths.append((re.compile(re.sub(r"\\{\w+\\}", "[^/]+", re.escape(whole)) + "$"), whole, item))

    def resolve(self, node):
        while "$ref" in node:
            target = self.root
            for word in node["$ref"].removeprefix("#/").split("/"):
                target = target[word]
            node = target
        return node

    def check_value(self, value, schema, where):
        schema = self.resolve(schema)
        if value is None:
            if not schema.get("nullable"):
                yield f"{where}: is null"
            return
        for part in schema.get("allOf", []):
            yield from self.check_value(value, part, where)
        kind = schema.get("type")
        is_flag = isinstance(value, bool) and kind != "boolean"
        if kind and (not isinstance(value, TYPES[kind]) or is_flag or (kind == "integer" and value != int(value))):
            yield f"{where}: {value!r} is no {kind}"
            return
        if "enum" in schema and value not in schema["enum"]:
            yield f"{where}: {value!r} is none of {schema['enum']}"
        if "pattern" in schema and not re.search(schema["pattern"], value):
            yield f"{where}: {value!r} is not like {schema['pattern']}"
        if schema.get("format") in PATTERNS and not re.fullmatch(PATTERNS[schema["format"]], value):
            yield f"{where}: {value!r} is no {schema['format']}"
        if not schema.get("minimum", -1e300) <= (value if kind in ("integer", "number") else 0) <= schema.get("maximum", 1e300) \
                and kind in ("integer", "number"):
            yield f"{where}: {value!r} is out of range"
        if kind == "array":
            if len(value) < schema.get("minItems", 0):
                yield f"{where}: has too few items"
            for place, item in enumerate(value):
                yield from self.check_value(item, schema["items"], f"{where}[{place}]")
        if kind == "object":
            yield from self.check_object(value, schema, where)

    def check_object(self, value, schema, where):
        for name in schema.get("required", []):
            if name not in value:
                yield f"{where}: lacks '{name}'"
        others = schema.get("additionalProperties", True)
        for name, member in value.items():
            if name in schema.get("properties", {}):
                yield from self.check_value(member, schema["properties"][name], f"{where}.{name}")
            elif isinstance(others, dict):
                yield from self.check_value(member, others, f"{where}.{name}")
            # A member that the document forgot is a fault of the document, whatever it says of others.
            elif "properties" in schema and not (others is True and "additionalProperties" in schema):
                yield f"{where}: has '{name}', which the document does not know"

    def check(self, exchange):
        path = exchange["path"].split("?")[0]
        method = exchange["method"].lower()
        found = [item for pattern, _, item in self.paths if pattern.match(path)]
        operation = next((item[m] for item in found for m in (method, {"head": "get"}.get(method)) if m in item), None)
        if not operation:
            # What there is not is refused, and in the same form.
            if exchange["status"] not in (404, 405):
                yield "is not in the document"
                return
            responses = {"default": {"$ref": "#/components/responses/Problem"}}
        else:
            responses = operation["responses"]
        status = str(exchange["status"])
        if status not in responses and (status[0] in "23" or "default" not in responses):
            yield f"is answered with {status}, which the document does not know"
            return
        response = self.resolve(responses.get(status) or responses["default"])
        for name in response.get("headers", {}):
            if name.lower() not in exchange["headers"]:
                yield f"lacks the header '{name}'"
        content = response.get("content", {})
        kind = exchange["type"].split(";")[0]
        if not content and kind:
            yield f"has a body of {kind}, and should have none"
        if content and kind not in content:
            yield f"is of the type {kind!r}, and should be one of {list(content)}"
        elif content and kind.endswith("json") and method != "head":
            yield from self.check_value(json.loads(exchange["body"]), content[kind]["schema"], "body")
            if kind == "application/problem+json" and json.loads(exchange["body"])["status"] != exchange["status"]:
                yield "tells another status in its body"


def main():
    document = Document(sys.argv[1])
    with open(sys.argv[2], encoding="utf-8") as file:
        exchanges = json.load(file)
    failed = not exchanges
    for exchange in exchanges:
        for fault in document.check(exchange):
            print(f"{exchange['method']} {exchange['path']} ({exchange['status']}): {fault}")
            failed = True
    return 1 if failed else 0


sys.exit(main())
