"""A service in Python. It reads requests from standard input and answers them in four threads; README.md lists them."""
import os
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import vrx



def pieces(file):
    while piece := file.read(5000):
        yield piece


def digest(name, parameters="CryptoPro"):
    running = vrx.gostr3411(parameters=parameters)
    with open(name, "rb") as file:
        for piece in pieces(file):
            running.update(piece)
    return running.digest()


def hash(name, out):
    Path(out).write_bytes(digest(name))


def sign(key, name, out):
    with vrx.PrivateKey.from_pem(Path(key).read_bytes()) as private:
        Path(out).write_bytes(private.sign_digest(digest(name, private.hash_parameters)))


def verify(key, signature, name):
    public = vrx.PublicKey.from_pem(Path(key).read_bytes())
    public.verify_digest(Path(signature).read_bytes(), digest(name, public.hash_parameters))


def agree(key, peer, ukm, out):
    public = vrx.PublicKey.from_pem(Path(peer).read_bytes())
    with vrx.PrivateKey.from_pem(Path(key).read_bytes()) as private:
        Path(out).write_bytes(private.agree(public, Path(ukm).read_bytes()))


def encrypt(key, name, out):
    with vrx.Cipher(Path(key).read_bytes()) as cipher, open(name, "rb") as source, open(out, "wb") as target:
        iv = os.urandom(8)
        target.write(iv)
        with cipher.encryptor(iv) as stream:
            target.writelines(stream.update(piece) for piece in pieces(source))


def decrypt(key, name, out):
    with vrx.Cipher(Path(key).read_bytes()) as cipher, open(name, "rb") as source, open(out, "wb") as target:
        with cipher.decryptor(source.read(8)) as stream:
            target.writelines(stream.update(piece) for piece in pieces(source))


REQUESTS = {request.__name__: request for request in (hash, sign, verify, agree, encrypt, decrypt)}


def answer(line):
    try:
        request, *files = line.split()
        REQUESTS[request](*files)
        return "success"
    except (LookupError, OSError, TypeError, ValueError, vrx.Error) as failure:
        return f"{failure!r}"


with ThreadPoolExecutor(4) as pool:
    for number, said in enumerate(pool.map(answer, sys.stdin), 1):
        print(number, said, flush=True)
