"""Signs published content as the holder of a publisher's key does, with stock minisign. The keys in the
folder "signing" have no passphrase; they sign for tests only."""

import hashlib
import json
import pathlib
import subprocess
import tempfile

KEYS = pathlib.Path(__file__).resolve().parent / "signing"
METADATA = "launcher/quelrametadata.json"


def sha256(data):
    return hashlib.sha256(data).hexdigest()


def signature(document, key="test"):
    """The content of minisign's signature file for these bytes."""
    with tempfile.TemporaryDirectory(prefix="vornak-signing-") as folder:
        path = pathlib.Path(folder) / "document"
        path.write_bytes(document)
        subprocess.run(["minisign", "-S", "-s", KEYS / f"{key}.key", "-m", path, "-x", f"{path}.sig"],
                       check=True, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        return pathlib.Path(f"{path}.sig").read_bytes()


def signature_file(content, document):
    return content / "launcher/signatures" / f"{sha256(document)}.minisig"


def put(content, document, signed):
    """Serves these bytes as the launcher metadata, with that signature."""
    place = signature_file(content, document)
    place.parent.mkdir(exist_ok=True)
    place.write_bytes(signed)
    (content / METADATA).write_bytes(document)


def builds(metadata):
    """Every build object of the metadata."""
    return [build for owner in [*metadata.get("packages", []), metadata.get("launcher", {})]
            for build in owner.get("builds", [])]


def terms(content, serial, **members):
    """The content's metadata as it is to be signed."""
    metadata = json.loads((content / METADATA).read_bytes())
    for build in builds(metadata):
        for name in ("url", "versionurl", "assetsurl", "assetsversionurl"):
            if name in build:
                build[name + "sha256"] = sha256((content / build[name].lstrip("/")).read_bytes())
    return json.dumps({**metadata, "serial": serial, **members}).encode()


def sign(content, serial, key="test", **members):
    """Signs the content; returns the document."""
    document = terms(content, serial, **members)
    put(content, document, signature(document, key))
    return document
