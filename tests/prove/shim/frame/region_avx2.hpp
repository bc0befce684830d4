// This file is empty, because the proofs do not execute vector instructions and need no compiler options for them.
