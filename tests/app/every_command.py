"""The base class of tests that run every command of vrx, with every kind of key."""

import os

import certificates as x509
from program import ProgramTest

OUT = "a folder with a long name/out"  # too long for the small string optimisation
IV = "0011223344556677"
FEW = b"vrx: warning: with only 1000 iterations, passwords can be guessed quickly; use 600000 or more\n"
PASSWORD = ["--password-file", "password"]
LISTS = ("mac", "hash", "sha1", "hmac", "inspect")  # these go on after a file that cannot be read
LOCK = ["--iterations", "1000", *PASSWORD]


def expected_warning(command):
    return FEW if "--iterations" in command else b""


class EveryCommand(ProgramTest):
    """A folder with keys, encrypted keys, a chain of certificates, ciphertext, lists and a signature."""

    def setUp(self):
        super().setUp()
        os.mkdir(self.path(os.path.dirname(OUT)))
        self.write("in", bytes(range(256)) * 40)
        self.write("text", b"a text")
        self.write("password", b"password\n", 0o600)
        self.vrx("encrypt", "--key", "key", "--iv", IV, "-o", "secret", "in")
        self.write("macs", self.vrx("mac", "--key", "key", "in", "text"))
        self.write("sums", self.vrx("hash", "in", "text"))
        self.vrx("keypair", "--curve", "A", "--out", "pem")
        self.vrx("pubkey", "-o", "pub", "pem")
        self.vrx("sign", "--key", "pem", "-o", "signature", "in")
        self.vrx("keypair", "--curve", "A", "--out", "root.pem")
        name = x509.name((x509.COMMON_NAME, x509.text("0c", "root")))
        authority = [x509.authority(), x509.key_usage("56")]
        self.sign_document("ca", self.certified("root.pem", subject=name, extensions=authority))
        self.sign_document("cert", self.certified("pem", issuer=name, extensions=[x509.key_usage("0")]))
        self.sign_document("crl", x509.element("30", "020101", x509.GOST_SIGNATURE, name, x509.time("200102000000Z"),
                                               x509.time("20890101000000Z")))
        for command in (["keygen", "--out", "locked.key"], ["keypair", "--curve", "A", "--out", "locked"]):
            self.successful([*command, *LOCK])

    def certified(self, key, **fields):
        return x509.to_be_signed(self.vrx("pubkey", "--format", "der", key).hex(), **fields)

    def sign_document(self, name, signed):
        self.write("tbs", bytes.fromhex(signed))
        signature = self.vrx("sign", "--key", "root.pem", "--hex", "tbs").decode().strip()
        self.write(name, x509.certificate(signed, signature))

    def commands(self):
        """Yields tuples: a command line, and if its output is random, a function that checks it, else None."""
        derive = ["derive", "--salt", "00112233445566778899", "--iterations", "1000", *PASSWORD]
        chain = ["verify", "--cert", "cert", "--ca", "ca", "--crl", "crl", "--time", "any", "--signature", "signature"]
        same = [
            ["encrypt", "--key", "key", "--iv", IV, "-o", OUT, "in"],
            ["encrypt", "--key", "key", "--iv", IV, "in"],
            ["decrypt", "--key", "key", "-o", OUT, "secret"],
            ["mac", "--key", "key", "in", "text"],
            ["mac", "--key", "key", "-o", OUT, "in", "text"],
            ["mac", "--key", "key", "--check", "macs"],
            ["hash", "--tag", "in"],
            ["hash", "--check", "sums"],
            ["sha1", "in"],
            ["hmac", "--key", "key", "in"],
            [*derive, "--kdf", "pbkdf2", "--out", OUT],
            [*derive, "--kdf", "pba", "--raw"],
            ["pubkey", "-o", OUT, "pem"],
            ["verify", "--key", "pub", "--signature", "signature", "in"],
            ["agree", "--key", "pem", "--peer", "pub", "--ukm", IV, "--out", OUT],
            ["diversify", "--key", "key", "--ukm", IV],
            ["pubkey", "-o", OUT, *PASSWORD, "locked"],
            ["encrypt", "--key", "locked.key", *PASSWORD, "--iv", IV, "-o", OUT, "in"],
            ["decrypt", "--key", "locked.key", *PASSWORD, "-o", OUT, "secret"],
            ["mac", "--key", "locked.key", *PASSWORD, "in"],
            ["hmac", "--key", "locked.key", *PASSWORD, "in"],
            ["agree", "--key", "locked", *PASSWORD, "--peer", "pub", "--ukm", IV, "--out", OUT],
            ["diversify", "--key", "locked.key", *PASSWORD, "--ukm", IV, "--out", OUT],
            [*chain, "in"],
            [*chain, "--status", "in"],
            ["inspect", "key", "pem", "pub", "locked", "locked.key", "ca", "signature"],
            ["params", "--json"],
            ["help", "sign"],
            ["version"],
        ]
        for command in same:
            yield command, None
        yield ["help", "secrets"], lambda done: self.assertIn(b"\nOn this machine:\n", done.out)
        yield ["keygen", "--out", OUT], lambda done: self.assertEqual(len(self.read(OUT)), 32)
        yield ["keygen", "--out", OUT, *LOCK], lambda done: self.vrx("mac", "--key", OUT, *PASSWORD, "in")
        yield ["keypair", "--curve", "B", "--out", OUT, *LOCK], lambda done: self.vrx("pubkey", *PASSWORD, OUT)
        yield ["keypair", "--curve", "B", "--out", OUT], lambda done: self.vrx("pubkey", OUT)
        yield ["encrypt", "--key", "key", "-o", OUT, "in"], \
            lambda done: self.assertEqual(self.vrx("decrypt", "--key", "key", OUT), self.read("in"))
        yield ["sign", "--key", "pem", "-o", OUT, "in"], \
            lambda done: self.vrx("verify", "--key", "pub", "--signature", OUT, "in")
        yield ["sign", "--key", "locked", *PASSWORD, "-o", OUT, "in"], self.is_signed_with_locked_key

    def is_signed_with_locked_key(self, _):
        self.write("locked.pub", self.vrx("pubkey", *PASSWORD, "locked"))
        self.vrx("verify", "--key", "locked.pub", "--signature", OUT, "in")
        os.unlink(self.path("locked.pub"))

    def successful(self, command):
        done = self.run_vrx(*command)
        self.assertEqual((done.code, done.err), (0, expected_warning(command)), command)
        return done

    def files(self):
        return {os.path.relpath(os.path.join(folder, name), self.folder): self.read(os.path.join(folder, name))
                for folder, _, names in os.walk(self.folder) for name in names if not folder.endswith("report")}

    def remove_output(self):
        if os.path.exists(self.path(OUT)):
            os.unlink(self.path(OUT))
