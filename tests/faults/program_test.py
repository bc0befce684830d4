"""Tests of the program with failing allocations, failing system calls and short reads and writes."""

import os
import unittest

from every_command import LISTS, LOCK, OUT, PASSWORD, EveryCommand, expected_warning
from program import main

FAULTS = os.environ["VRX_FAULTS"]
ENOUGH = 3000  # no run makes so many calls


class Runs(EveryCommand):
    def setUp(self):
        super().setUp()
        os.mkdir(self.path("report"))
        self.vrx("cms", "sign", "--key", "pem", "--cert", "cert", "-o", "message", "in")
        self.write("octets", self.vrx("cms", "sign", "--key", "pem", "--cert", "cert", "--detached", "--smime", "in"))

    def commands(self):
        yield from super().commands()
        for command in (["cms", "verify", "--ca", "ca", "--crl", "crl", "--time", "any", "-o", OUT, "message"],
                        ["cms", "verify", "--ca", "ca", "--time", "any", "octets"],
                        ["cms", "show", "message"]):
            yield command, None
        yield (["cms", "sign", "--key", "pem", "--cert", "cert", "--pem", "-o", OUT, "in"],
               lambda done: self.vrx("cms", "verify", "--ca", "ca", OUT))

    def with_faults(self, command, **faults):
        """Run with an injected fault. Returns the results and the name of the failed call, if any."""
        self.write("report/call", b"")
        environment = {**os.environ, "LD_PRELOAD": FAULTS, "VRX_FAULT_REPORT": os.fsdecode(self.path("report/call")),
                       **{f"VRX_FAULT_{name.upper()}": str(value) for name, value in faults.items()}}
        done = self.run_vrx(*command, env=environment)
        return done, self.read("report/call").decode() or None

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
           ["sign", "--key", "pem", "in"], ["keygen", "--out", OUT, *LOCK],
           ["keypair", "--curve", "A", "--out", OUT, *LOCK],
           ["sign", "--key", "locked", *PASSWORD, "in"])

    def test_stuck_source_is_an_error(self):
        before = self.files()
        for how in ("zero", "constant", "never"):
            for command in self.NEW:
                with self.subTest(command, how=how):
                    done, _ = self.with_faults(command, random=how)
                    self.assertEqual((done.code, done.out), (2, b""))
                    done.err = done.err.removeprefix(expected_warning(command))
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
