"""Shared code of the tests of digests, HMACs and derived keys."""

import json
import shutil
import subprocess

from program import Done, ProgramTest

SETS = {"test": "GOST94", "cryptopro": "GOST94-CRYPTOPRO"}  # the tag of each parameter set in lists


def set_name(sbox):
    """The short name of a parameter set that known answers name in full."""
    return {"id-GostR3411-94-TestParamSet": "test", "id-GostR3411-94-CryptoProParamSet": "cryptopro"}[sbox]


class HashTest(ProgramTest):
    def tables(self):
        built_in = json.loads(self.vrx("params", "--json"))
        tables = {s["name"]: s["table"] for s in built_in["sbox_sets"]}
        return {s["short"]: tables[s["sboxes"]] for s in built_in["hash_parameter_sets"]}

    def tool(self, *command):
        """The output of an independent program, run in the test's folder; skips the test if it is not installed."""
        if shutil.which(command[0]) is None:
            self.skipTest(f"{command[0]} is not installed")
        done = subprocess.run(command, cwd=self.folder, capture_output=True, check=False)
        return Done(done.returncode, done.stdout, done.stderr)
