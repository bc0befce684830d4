#!/usr/bin/env python3
"""Runs the example services in C, C++ and Python against OpenSSL's GOST engine and against the program vrx.

Usage: service_test.py PROJECT LIBRARY VRX C-SERVICE CXX-SERVICE [VALGRIND]

With VALGRIND, the test runs the services in C and C++ under helgrind and memcheck instead.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROJECT, LIBRARY, VRX, IN_C, IN_CXX = (Path(argument).resolve() for argument in sys.argv[1:6])
VALGRIND = sys.argv[6:]
FOLDER = PROJECT / "examples/service"
SERVICES = {"C": [IN_C], "C++": [IN_CXX], "Python": ["/usr/bin/python3", "-B", FOLDER / "service.py"]}
ENVIRONMENT = {**os.environ, "VRX_LIBRARY": str(LIBRARY), "PYTHONPATH": str(PROJECT / "python/src"),
               "LC_ALL": "C.UTF-8"}
CURVES = ("A", "B", "C", "XA", "XB")
MESSAGE = bytes(i * i >> 3 & 255 for i in range(12345))
KEY, IV, UKM = bytes(range(32)), bytes(range(8, 16)), bytes(range(1, 9))


def call(*command, **environment):
    """Run a program in the current folder; it must succeed."""
    run = subprocess.run(list(map(str, command)), stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False,
                         env={**ENVIRONMENT, **environment})
    if run.returncode != 0:
        raise AssertionError(f"{command}: {run.returncode}\n{run.stderr.decode()}")
    return run.stdout


class Engine:
    """OpenSSL with the GOST engine."""
    cfb = ("enc", "-engine", "gost", "-gost89", "-K", KEY.hex())
    sboxes = {"CRYPT_PARAMS": "id-Gost28147-89-CryptoPro-A-ParamSet"}

    @staticmethod
    def missing():
        if not shutil.which("openssl"):
            return "openssl is not installed"
        run = subprocess.run(["openssl", "engine", "gost"], capture_output=True, check=False)
        return "openssl has no engine gost" if run.returncode != 0 else None

    def pair(self, curve, key, public):
        call("openssl", "genpkey", "-engine", "gost", "-algorithm", "gost2001", "-pkeyopt", f"paramset:{curve}", "-out",
             key)
        call("openssl", "pkey", "-engine", "gost", "-in", key, "-pubout", "-out", public)

    def hash(self, file):
        return call("openssl", "dgst", "-engine", "gost", "-md_gost94", "-binary", file)

    def sign(self, key, file, out):
        call("openssl", "dgst", "-engine", "gost", "-md_gost94", "-sign", key, "-out", out, file)

    def verify(self, public, signature, file):
        call("openssl", "dgst", "-engine", "gost", "-md_gost94", "-verify", public, "-signature", signature, file)

    def agree(self, key, peer, out):
        call("openssl", "pkeyutl", "-engine", "gost", "-derive", "-inkey", key, "-peerkey", peer, "-pkeyopt",
             f"ukmhex:{UKM.hex()}", "-out", out)

    def encrypt(self, file, out):
        call("openssl", *self.cfb, "-iv", IV.hex(), "-in", file, "-out", "ciphertext", **self.sboxes)
        Path(out).write_bytes(IV + Path("ciphertext").read_bytes())

    def decrypt(self, file, out):
        data = Path(file).read_bytes()
        Path("ciphertext").write_bytes(data[8:])
        call("openssl", *self.cfb, "-d", "-iv", data[:8].hex(), "-in", "ciphertext", "-out", out, **self.sboxes)


class Program:
    """The program vrx."""

    @staticmethod
    def missing():
        return None

    def pair(self, curve, key, public):
        call(VRX, "keypair", "--curve", curve.replace("X", "Xch"), "--out", key)
        call(VRX, "pubkey", "-o", public, key)

    def hash(self, file):
        return bytes.fromhex(call(VRX, "hash", file).split()[0].decode())

    def sign(self, key, file, out):
        call(VRX, "sign", "--key", key, "-o", out, file)

    def verify(self, public, signature, file):
        call(VRX, "verify", "--key", public, "--signature", signature, file)

    def agree(self, key, peer, out):
        call(VRX, "agree", "--key", key, "--peer", peer, "--ukm", UKM.hex(), "--out", out)

    def encrypt(self, file, out):
        call(VRX, "encrypt", "--key", "secret.key", "--iv", IV.hex(), "-o", "ciphertext", file)
        Path(out).write_bytes(IV + Path("ciphertext").read_bytes())

    def decrypt(self, file, out):
        call(VRX, "decrypt", "--key", "secret.key", "-o", out, file)


class ServiceTest(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.mkdtemp(prefix="vrx-service-")
        self.addCleanup(shutil.rmtree, scratch)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(scratch)
        os.umask(0o077)
        for name, data in (("message", MESSAGE), ("secret.key", KEY), ("ukm", UKM), ("short", b"short")):
            Path(name).write_bytes(data)

    def answers(self, command, requests):
        """Run a service. Return its answers in the order of the requests, and what it printed on standard error."""
        run = subprocess.run(list(map(str, command)), input="".join(f"{line}\n" for line in requests), text=True,
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=ENVIRONMENT, check=False)
        self.assertEqual(run.returncode, 0, run.stderr)
        answers = dict(line.split(" ", 1) for line in run.stdout.splitlines())
        self.assertEqual(sorted(map(int, answers)), list(range(1, len(requests) + 1)), run.stdout)
        return [answers[str(i + 1)] for i in range(len(requests))], run.stderr

    def prepare(self, peer):
        """Let the peer make files for each curve, and return requests that use them."""
        requests = ["hash message digest", "encrypt secret.key message to-peer", "decrypt secret.key from-peer plain"]
        peer.encrypt("message", "from-peer")
        for curve in CURVES:
            peer.pair(curve, f"{curve}.key", f"{curve}.pub")
            peer.pair(curve, f"{curve}-peer.key", f"{curve}-peer.pub")
            peer.sign(f"{curve}.key", "message", f"{curve}.signature")
            peer.agree(f"{curve}-peer.key", f"{curve}.pub", f"{curve}.shared")
            requests += [f"verify {curve}.pub {curve}.signature message", f"sign {curve}.key message {curve}.ours",
                         f"agree {curve}.key {curve}-peer.pub ukm {curve}.kek"]
        return requests

    def check(self, peer):
        """Compare the files that a service wrote with the peer's."""
        self.assertEqual(Path("digest").read_bytes(), peer.hash("message"))
        self.assertEqual(Path("plain").read_bytes(), MESSAGE)
        peer.decrypt("to-peer", "decrypted")
        self.assertEqual(Path("decrypted").read_bytes(), MESSAGE)
        self.assertNotIn(MESSAGE[:64], Path("to-peer").read_bytes())
        for curve in CURVES:
            peer.verify(f"{curve}.pub", f"{curve}.ours", "message")
            self.assertEqual(Path(f"{curve}.kek").read_bytes(), Path(f"{curve}.shared").read_bytes())


@unittest.skipIf(VALGRIND, "runs without valgrind")
class Peers(ServiceTest):
    def works_with(self, peer):
        if reason := peer.missing():
            print(f"skipped: {reason}")
            return
        requests = self.prepare(peer)
        for language, command in SERVICES.items():
            with self.subTest(language):
                for name in ("digest", "plain", "to-peer", "decrypted"):
                    Path(name).unlink(missing_ok=True)
                said, errors = self.answers(command, requests)
                self.assertEqual((said, errors), (["success"] * len(requests), ""))
                self.check(peer)

    def test_services_work_with_the_gost_engine_both_ways(self):
        self.works_with(Engine())

    def test_services_work_with_the_program_both_ways(self):
        self.works_with(Program())


@unittest.skipIf(VALGRIND, "runs without valgrind")
class Failures(ServiceTest):
    def test_each_invalid_request_fails_alone(self):
        peer = Program()
        for curve in ("A", "B"):
            peer.pair(curve, f"{curve}.key", f"{curve}.pub")
        peer.sign("A.key", "message", "signature")
        Path("changed").write_bytes(MESSAGE[:-1] + b"x")
        invalid = ["", "nonsense", "nonsense message", "hash", "hash missing digest", "hash message missing/digest",
                   "verify A.pub signature changed", "verify B.pub signature message", "verify A.key signature message",
                   "verify A.pub short message", "verify short signature message", "sign A.pub message out",
                   "sign short message out", "sign missing message out", "agree A.key B.pub ukm out",
                   "agree A.key A.pub short out", "encrypt short message out", "decrypt short message out",
                   "decrypt secret.key short out"]
        requests = [request for one in invalid for request in (one, "verify A.pub signature message")]
        for language, command in SERVICES.items():
            said, _ = self.answers(command, requests)
            for request, answer in zip(requests, said):
                with self.subTest(language, request=request):
                    self.assertEqual(answer == "success", request == "verify A.pub signature message", answer)
                    self.assertGreater(len(answer), 5)

    def test_empty_file_is_a_valid_message(self):
        Path("empty").write_bytes(b"")
        Program().pair("A", "A.key", "A.pub")
        requests = ["sign A.key empty signature", "encrypt secret.key empty secret"]
        for language, command in SERVICES.items():
            with self.subTest(language):
                self.assertEqual(self.answers(command, requests)[0], ["success"] * 2)
                Program().verify("A.pub", "signature", "empty")
                self.assertEqual(len(Path("secret").read_bytes()), 8)
                said, _ = self.answers(command, ["verify A.pub signature empty", "decrypt secret.key secret plain"])
                self.assertEqual(said, ["success"] * 2)
                self.assertEqual(Path("plain").read_bytes(), b"")

    def test_guide_states_the_number_of_lines(self):
        """Lines count unless they are blank, comments, a lone brace, or name what a program includes."""
        ignored = re.compile(r'\s*(/\*.*\*/|//.*|[{}]+;?|\}  // .*|#include.*|""".*"""|import .*|from .* import .*)?')
        guide = (PROJECT / "docs/guides/write-a-service.md").read_text(encoding="utf-8")
        for name, language, most in (("service.c", "C", 120), ("service.cpp", "C++", 80), ("service.py", "Python", 50)):
            lines = (FOLDER / name).read_text(encoding="utf-8").splitlines()
            count = sum(not ignored.fullmatch(line) for line in lines)
            self.assertLessEqual(count, most, name)
            self.assertIn(f"| {language} | [{name}](../../examples/service/{name}) | {count} |", guide)


@unittest.skipUnless(VALGRIND, "runs with valgrind")
class Valgrind(ServiceTest):
    def test_threads_have_no_data_race_and_use_no_memory_after_its_end(self):
        requests = self.prepare(Program())
        for tool in ("helgrind", "memcheck"):
            for language in ("C", "C++"):
                with self.subTest(language, tool=tool):
                    options = [f"--tool={tool}", "--quiet", "--error-exitcode=99"]
                    said, errors = self.answers([*VALGRIND, *options, *SERVICES[language]], requests)
                    self.assertEqual((said, errors), (["success"] * len(requests), ""))
                    self.check(Program())


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
