"""Tests of the program with failing allocations, failing system calls and short reads and writes."""

import os
import unittest

import certificates as x509
from program import ProgramTest, main

FAULTS = os.environ["VRX_FAULTS"]
ENOUGH = 3000  # no run makes so many calls
OUT = "a folder with a long name/out"  # too long for the small string optimisation
FEW = b"vrx: warning: with only 1000 iterations, passwords can be guessed quickly; use 600000 or more\n"
LOCK = ["--iterations", "1000", "--password-file", "password"]
LISTS = ("mac", "hash", "sha1", "hmac")


def expected_warning(command):
    return FEW if "--iterations" in command else b""


class Runs(ProgramTest):
    def setUp(self):
        super().setUp()
        os.mkdir(self.path("report"))
        os.mkdir(self.path(os.path.dirname(OUT)))
        self.write("in", bytes(range(256)) * 40)
        self.write("text", b"a text")
        self.write("password", b"password\n", 0o600)
        self.vrx("encrypt", "--key", "key", "--iv", "0011223344556677", "-o", "secret", "in")
        self.write("macs", self.vrx("mac", "--key", "key", "in", "text"))
        self.write("sums", self.vrx("hash", "in", "text"))
        self.vrx("keypair", "--curve", "A", "--out", "pem")
        self.vrx("pubkey", "-o", "pub", "pem")
        self.vrx("sign", "--key", "pem", "-o", "signature", "in")
        self.vrx("keypair", "--curve", "A", "--out", "root.pem")
        name = x509.name((x509.COMMON_NAME, x509.text("0c", "root")))
        self.sign_document("ca", self.certified("root.pem", subject=name,
                                                extensions=[x509.authority(), x509.key_usage("56")]))
        self.sign_document("cert", self.certified("pem", issuer=name, extensions=[x509.key_usage("0")]))
        self.vrx("cms", "sign", "--key", "pem", "--cert", "cert", "-o", "message", "in")
        self.write("octets", self.vrx("cms", "sign", "--key", "pem", "--cert", "cert", "--detached", "--smime", "in"))
        self.sign_document("crl", x509.element("30", "020101", x509.GOST_SIGNATURE, name, x509.time("200102000000Z"),
                                               x509.time("20890101000000Z")))
        for command in (["keygen", "--out", "locked.key"], ["keypair", "--curve", "A", "--out", "locked"]):
            self.successful([*command, *LOCK])

    def certified(self, key, **fields):
        return x509.to_be_signed(self.vrx("pubkey", "--format", "der", key).hex(), **fields)

    def sign_document(self, name, signed):
        self.write("tbs", bytes.fromhex(signed))
        self.write(name,
                   x509.certificate(signed, self.vrx("sign", "--key", "root.pem", "--hex", "tbs").decode().strip()))

    def commands(self):
        """Yields tuples: a command line, whether its output is deterministic, and if not, a command that checks it."""
        derive = ["derive", "--salt", "00112233445566778899", "--iterations", "1000", "--password-file", "password"]
        same = [
            ["encrypt", "--key", "key", "--iv", "0011223344556677", "-o", OUT, "in"],
            ["encrypt", "--key", "key", "--iv", "0011223344556677", "in"],
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
            ["agree", "--key", "pem", "--peer", "pub", "--ukm", "0011223344556677", "--out", OUT],
            ["diversify", "--key", "key", "--ukm", "0011223344556677"],
            ["pubkey", "-o", OUT, "--password-file", "password", "locked"],
            ["mac", "--key", "locked.key", "--password-file", "password", "in"],
            ["verify", "--cert", "cert", "--ca", "ca", "--crl", "crl", "--time", "any", "--signature", "signature",
             "in"],
            ["cms", "verify", "--ca", "ca", "--crl", "crl", "--time", "any", "-o", OUT, "message"],
            ["cms", "verify", "--ca", "ca", "--time", "any", "octets"],
            ["cms", "show", "message"],
            ["params", "--json"],
            ["help", "sign"],
            ["version"],
        ]
        for command in same:
            yield command, None
        yield (["cms", "sign", "--key", "pem", "--cert", "cert", "--pem", "-o", OUT, "in"],
               lambda done: self.vrx("cms", "verify", "--ca", "ca", OUT))
        yield ["keygen", "--out", OUT], lambda done: self.assertEqual(len(self.read(OUT)), 32)
        yield ["keygen", "--out", OUT, *LOCK], \
            lambda done: self.vrx("mac", "--key", OUT, "--password-file", "password", "in")
        yield ["keypair", "--curve", "B", "--out", OUT, *LOCK], \
            lambda done: self.vrx("pubkey", "--password-file", "password", OUT)
        yield ["keypair", "--curve", "B", "--out", OUT], lambda done: self.vrx("pubkey", OUT)
        yield ["encrypt", "--key", "key", "-o", OUT, "in"], \
            lambda done: self.assertEqual(self.vrx("decrypt", "--key", "key", OUT), self.read("in"))
        yield ["sign", "--key", "pem", "-o", OUT, "in"], \
            lambda done: self.vrx("verify", "--key", "pub", "--signature", OUT, "in")

    def successful(self, command):
        done = self.run_vrx(*command)
        self.assertEqual((done.code, done.err), (0, expected_warning(command)), command)
        return done

    def files(self):
        return {os.path.relpath(os.path.join(folder, name), self.folder): self.read(os.path.join(folder, name))
                for folder, _, names in os.walk(self.folder) for name in names if not folder.endswith("report")}

    def with_faults(self, command, **faults):
        """Run with an injected fault. Returns the results and the name of the failed call, if any."""
        self.write("report/call", b"")
        environment = {**os.environ, "LD_PRELOAD": FAULTS, "VRX_FAULT_REPORT": os.fsdecode(self.path("report/call")),
                       **{f"VRX_FAULT_{name.upper()}": str(value) for name, value in faults.items()}}
        done = self.run_vrx(*command, env=environment)
        return done, self.read("report/call").decode() or None

    def remove_output(self):
        if os.path.exists(self.path(OUT)):
            os.unlink(self.path(OUT))

    def expect_whole_or_nothing(self, fault, first=1, after="", **more):
        """Let each call of each command fail in turn. A run either succeeds, or fails and changes nothing."""
        for command, proof in self.commands():
            # libtasn1 4.19 does not check every allocation, so commands that decode messages may crash in it.
            if fault == "memory" and command[0] == "cms":
                continue
            self.remove_output()
            before = self.files()
            right = self.successful(command)
            written = self.files()
            for n in range(first, ENOUGH):
                self.remove_output()
                done, call = self.with_faults(command, **{fault: f"{n}{after}"}, **more)
                if call is None:
                    break
                with self.subTest(command, n=n, call=call):
                    self.assertIn(done.code, (0, 2), done.err)
                    if done.code != 0:
                        done.err = done.err.removeprefix(expected_warning(command))
                    if done.code == 0:
                        if proof is None:
                            self.assertEqual((done.out, self.files()), (right.out, written))
                        else:
                            proof(done)
                        continue
                    self.assertRegex(done.err, rb"\A(vrx: [^\n]+\n)+\Z")
                    if command[0] in LISTS:
                        self.expect_a_part(done, right, written)
                    else:
                        self.assertEqual(done.err.count(b"\n"), 1)
                        self.assertEqual(self.files(), before)
            else:
                self.fail(f"{command} makes too many calls")
            self.assertGreater(n, first, "no fault was delivered")
            self.assertEqual(done.code, 0, done.err)


    def expect_same_result(self, **fault):
        for command, proof in self.commands():
            with self.subTest(command):
                self.remove_output()
                right = self.successful(command).out
                written = self.files()
                self.remove_output()
                done, _ = self.with_faults(command, **fault)
                self.assertEqual((done.code, done.err), (0, expected_warning(command)))
                if proof is None:
                    self.assertEqual((done.out, self.files()), (right, written))
                else:
                    proof(done)

    def expect_a_part(self, done, right, written):
        """A list may omit unreadable files. A check of the list reports them."""
        lines = (right.out + written.get(OUT, b"")).splitlines()
        out = self.files().get(OUT, b"")
        for line in (done.out + out).splitlines():
            if not line.endswith(b": FAILED open or read"):
                self.assertIn(line, lines)


class ShortMemory(Runs):
    def test_one_allocation_fails(self):
        self.expect_whole_or_nothing("memory")

    def test_all_allocations_fail_from_one_on(self):
        # The first allocation is a reserve of the C++ run-time library for exceptions.
        self.expect_whole_or_nothing("memory", first=2, after="+")


class FailingSystem(Runs):
    def test_one_system_call_fails(self):
        self.expect_whole_or_nothing("system")

    def test_one_system_call_fails_without_unnamed_files(self):
        self.expect_whole_or_nothing("system", named=1)


class BadRandomness(Runs):
    NEW = (["keygen", "--out", OUT], ["keypair", "--curve", "A", "--out", OUT], ["encrypt", "--key", "key", "in"],
           ["sign", "--key", "pem", "in"])

    def test_stuck_source_is_an_error(self):
        before = self.files()
        for how in ("zero", "constant", "never"):
            for command in self.NEW:
                with self.subTest(command, how=how):
                    done, _ = self.with_faults(command, random=how)
                    self.assertEqual((done.code, done.out), (2, b""))
                    self.assertRegex(done.err, rb"\Avrx: [^\n]*random bytes[^\n]*\n\Z")
                    self.assertNotIn(b"report it", done.err)
                    self.assertEqual(self.files(), before)

    def test_repeating_source_does_not_reveal_the_key(self):
        """A machine restored from a snapshot repeats random numbers. Its nonces for two messages must differ."""
        for curve in ("A", "Test"):
            self.remove_output()
            self.vrx("keypair", "--curve", curve, "--out", OUT)
            self.vrx("pubkey", "-o", "public", OUT)
            signatures = []
            for message in (b"one", b"two", b"one"):
                self.write("message", message)
                done, _ = self.with_faults(["sign", "--key", OUT, "message"], random="snapshot")
                self.assertEqual((done.code, done.err, len(done.out)), (0, b"", 64))
                self.write("signed", done.out)
                self.vrx("verify", "--key", "public", "--signature", "signed", "message")
                signatures.append(done.out)
            self.assertNotEqual(signatures[0][32:], signatures[1][32:])
            self.assertEqual(signatures[0], signatures[2])


class Limits(Runs):
    def test_file_systems_that_cannot_access_hidden_memory(self):
        self.expect_same_result(direct=1)

    def test_short_and_interrupted_calls_give_the_same_result(self):
        self.expect_same_result(stutter=1)


if __name__ == "__main__":
    main()
