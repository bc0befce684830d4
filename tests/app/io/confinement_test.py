"""Tests that commands confine themselves, and that they work the same on kernels that cannot confine them."""

import os
import subprocess

from program import PROGRAM, ProgramTest, main

KERNEL_WITHOUT = os.environ["VRX_KERNEL_WITHOUT"]
IV = "0011223344556677"


class Confinement(ProgramTest):
    def secrets(self):
        text = self.vrx("help", "secrets").decode()
        return dict(line.split(maxsplit=1) if not line.startswith("  system") else ("system",
                                                                                    line.split("calls")[1].strip())
                    for line in text.partition("On this machine:\n\n")[2].splitlines())

    def test_a_command_that_waits_for_input_is_confined(self):
        """Checks with the kernel that the filter is active in every command that reads data."""
        if "(seccomp)" not in self.secrets()["system"]:
            self.skipTest("the kernel has no seccomp")
        before = self.status_of(self.waiting(["cat"], program_name="/bin/cat"), "Seccomp_filters")
        for command in (["hash"], ["inspect"], ["encrypt", "-k", "key", "-o", "out"], ["mac", "-k", "key"],
                        ["sha1", "--check"], ["pubkey"], ["decrypt", "-k", "key"], ["cms", "verify", "-o", "-"],
                        ["cms", "show"]):
            process = self.waiting(command)
            self.assertEqual(self.status_of(process, "Seccomp"), 2, command)
            self.assertEqual(self.status_of(process, "Seccomp_filters"), before + 1, command)
            self.assertEqual(self.status_of(process, "NoNewPrivs"), 1, command)

    def waiting(self, command, program_name=PROGRAM):
        if program_name == PROGRAM:
            process = self.start(*command, stdin=subprocess.PIPE)
        else:
            process = subprocess.Popen([program_name], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                       stderr=subprocess.PIPE)
            self.addCleanup(self.stop, process)
        self.wait_for_input(process)
        return process


class OlderKernels(ProgramTest):
    """Runs every kind of command on kernels that do not support parts of the confinement."""

    def run_on(self, features, *arguments, **options):
        done = subprocess.run([KERNEL_WITHOUT, features, PROGRAM, *arguments], cwd=self.folder, capture_output=True,
                              check=False,
                              timeout=60, **options)
        if done.returncode == 77:
            self.skipTest("no filter of system calls may be set here")
        return done

    def test_commands_work_the_same(self):
        self.write("in", bytes(range(256)) * 100)
        self.vrx("encrypt", "-k", "key", "--iv", IV, "-o", "right", "in")
        for features in ("l", "s", "m", "lsm"):
            for command in (["encrypt", "-k", "key", "--iv", IV, "-o", "secret", "in"],
                            ["keypair", "--curve", "A", "--out", features + ".pem"],
                            ["pubkey", "-o", "pub", features + ".pem"],
                            ["sign", "-k", features + ".pem", "-o", "sig", "in"],
                            ["verify", "-k", "pub", "-S", "sig", "in"],
                            ["inspect", "pub"], ["hash", "-o", "list", "in"], ["hash", "--check", "list"],
                            ["keygen", "--out", features + ".key"], ["mac", "-k", features + ".key", "in"]):
                done = self.run_on(features, *command)
                self.assertEqual((done.returncode, done.stderr), (0, b""), (features, command))
            self.assertEqual(self.read("secret"), self.read("right"))

    def test_the_help_says_what_is_missing(self):
        for features, says in (("l", b"the kernel has no Landlock"), ("s", b"the kernel has no seccomp"),
                               ("m", b"in locked memory")):
            text = self.run_on(features, "help", "secrets").stdout
            self.assertIn(says, text)
            self.assertEqual(text.partition(b"On this machine:")[0],
                             self.vrx("help", "secrets").partition(b"On this machine:")[0])


if __name__ == "__main__":
    main()
