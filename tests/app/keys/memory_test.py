"""Tests that vrx keeps secrets in hidden or locked pages, and that no trace of them is in its memory when it ends."""

import base64
import ctypes
import os
import resource
import subprocess
import unittest

from program import KEY, PROGRAM, SANITIZED, ProgramTest, main

MEMORY_OF = os.environ.get("VRX_MEMORY_OF", "memory_of")
SALT = "0123456789abcdef"
UKM = "0102030405060708"
PASSWORD = os.urandom(20).hex().encode()


@unittest.skipIf(SANITIZED, "sanitizers lock no memory, and have plenty of their own")
class Memory(ProgramTest):
    def traced(self, *arguments, stdin=b"", env=None):
        """Run a command. Return its arguments, the locked pages during the run, and all memory at its end."""
        environment = None if env is None else {**os.environ, **env}
        done = subprocess.run([MEMORY_OF, self.path("locked"), self.path("last"), PROGRAM, *arguments], input=stdin,
                              cwd=self.folder, capture_output=True, check=False, env=environment, timeout=60)
        if done.returncode == 77:
            self.skipTest("no process may be traced here")
        self.assertEqual(done.returncode, 0, (arguments, done.stderr))
        return arguments, self.read("locked"), self.read("last")

    @staticmethod
    def parts_in(memory, secret):
        """Return the places in memory where any eight consecutive bytes of a secret are found."""
        found = (memory.find(secret[at:at + 8]) for at in range(len(secret) - 7))
        return [place for place in found if place >= 0]

    def check(self, memory, secrets):
        """Check that each secret was in locked pages, and that nothing of it is left."""
        arguments, locked, last = memory
        self.assertGreater(len(last), 100_000)
        for name, secret in secrets.items():
            self.assertGreaterEqual(locked.find(secret), 0, (name + " was never in locked pages", arguments))
            self.assertEqual(len(self.parts_in(last, secret)), 0, (name + " is left", arguments))

    def test_the_check_finds_secrets_that_remain(self):
        _, _, last = self.traced("version", env={"SECRET": KEY.hex()})
        self.assertGreater(len(self.parts_in(last, KEY.hex().encode())), 0)

    def test_keys_of_the_cipher_and_of_hmac(self):
        key = os.urandom(32)
        self.write("raw", key, 0o600)
        self.write("digits", key.hex().encode() + b"\n", 0o600)
        self.write("in", bytes(5000))
        for file, secrets in (("raw", {"the key": key}),
                              ("digits", {"the key": key, "its digits": key.hex().encode()})):
            for command in (["encrypt", "--key", file, "-o", "out", "in"],
                            ["decrypt", "--key", file, "-o", "out", "in"],
                            ["mac", "--key", file, "in"]):
                self.check(self.traced(*command), secrets)
        self.check(self.traced("hmac", "--key", "raw", "in"), {"the key": key})

    def test_passwords_and_derived_keys(self):
        self.write("password", PASSWORD + b"\n", 0o600)
        for kdf in ("pbkdf2", "pba"):
            command = ["derive", "--kdf", kdf, "--salt", SALT, "--iterations", "2000", "--password-file", "password"]
            memory = self.traced(*command, "--raw", "--out", kdf)
            derived = self.read(kdf)
            self.check(memory, {"the password": PASSWORD, "the key": derived})
            memory = self.traced(*command, "--out", kdf + ".hex")
            self.check(memory, {"the password": PASSWORD, "the key": derived, "its digits": derived.hex().encode()})

    def test_private_keys(self):
        memory = self.traced("keypair", "--curve", "A", "--out", "pair")
        pem = self.read("pair")
        body = base64.b64decode(b"".join(pem.splitlines()[1:-1]))
        private = body[-32:]
        text = pem.splitlines()[1]
        self.check(memory, {"the key": private})
        self.vrx("pubkey", "-o", "public", "pair")
        self.write("letter", b"a letter")
        for command in (["sign", "--key", "pair", "-o", "signature", "letter"], ["pubkey", "-o", "public2", "pair"]):
            self.check(self.traced(*command), {"the key": private, "its PEM form": text})
        self.vrx("keypair", "--curve", "A", "--out", "their")
        self.vrx("pubkey", "-o", "their.public", "their")
        memory = self.traced("agree", "--key", "pair", "--peer", "their.public", "--ukm", UKM, "--out", "agreed")
        agreed = self.read("agreed")
        self.check(memory, {"the key": private, "the agreed key": agreed})
        memory = self.traced("diversify", "--key", "agreed", "--ukm", UKM, "--out", "diversified")
        self.check(memory, {"the key": agreed, "the diversified key": self.read("diversified")})

    def test_hidden_memory(self):
        if b"memfd_secret" not in self.vrx("help", "secrets"):
            self.skipTest("the kernel has no memfd_secret")
        key = os.urandom(32)
        self.write("raw", key, 0o600)
        self.write("in", bytes(5000))
        _, locked, last = self.traced("hmac", "--key", "raw", "in", env={"VRX_HIDDEN": "1"})
        self.assertEqual((self.parts_in(locked, key), self.parts_in(last, key)), ([], []))

    def test_a_small_stack_is_enough(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_STACK, (200 * 1024, 200 * 1024))

        for command in (["keygen", "--out", "new"], ["encrypt", "-k", "key", "-o", "secret", "new"]):
            self.vrx(*command, preexec_fn=limit)

    def test_memory_that_cannot_be_locked_draws_one_warning(self):
        may_lock = 14  # with CAP_IPC_LOCK, root can lock memory beyond the limit

        def limit():
            ctypes.CDLL(None).prctl(24, may_lock, 0, 0, 0)  # PR_CAPBSET_DROP
            resource.setrlimit(resource.RLIMIT_MEMLOCK, (0, 0))

        done = self.run_vrx("keygen", "--out", "new", preexec_fn=limit)
        self.assertEqual((done.code, done.out), (0, b""))
        self.assertEqual(done.err, b"vrx: warning: the memory of secrets cannot be locked and may be swapped out; "
                                   b"raise the limit with ulimit -l\n")

    def test_a_new_key(self):
        memory = self.traced("keygen", "--out", "new")
        self.check(memory, {"the key": self.read("new")})


if __name__ == "__main__":
    main()
