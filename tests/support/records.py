"""What the demo client wrote down about its starts."""

import json


def read_records(file):
    """What each start of the client was given, in order; what is still being written is left out."""
    if not file.exists():
        return []
    # What is being written may end in the middle of a character.
    text = file.read_text(encoding="utf-8", errors="replace").lstrip()
    decoder = json.JSONDecoder()
    found = []
    while text:
        try:
            record, end = decoder.raw_decode(text)
        except json.JSONDecodeError:
            break
        found.append(record)
        text = text[end:].lstrip()
    return found
