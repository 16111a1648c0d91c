#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The VornaServer developers
# SPDX-License-Identifier: MIT
"""handshake_vectors.py [--write]: derives handshake_vectors.json from docs/handshake.md alone.

It uses neither the program's code nor its libraries: X25519 and XSalsa20-Poly1305 are written out
here, slowly, from their definitions, and are compared with published examples. Without an option it
compares the file with what it derived; with --write it writes the file.
"""
import hashlib
import hmac
import json
import pathlib
import struct
import sys

FILE = pathlib.Path(__file__).with_name("handshake_vectors.json")
PROTOCOL = b"Noise_NNpsk0_25519_XSalsa20Poly1305_SHA512"
CODE_LABEL = b"quillmote one-time code"
ALPHABET = "0123456789ABCDEFGHJKMNPQRSTVWXYZ"
PRIME = 2**255 - 19
KINDS = {"code": 0, "phone": 1, "desk": 2}


def x25519(secret, public):
    """RFC 7748, section 5."""
    scalar = int.from_bytes(secret, "little") & ~7 & (2**255 - 1) | 2**254
    x1 = int.from_bytes(public, "little") % 2**255 % PRIME
    x2, z2, x3, z3, swapped = 1, 0, x1, 1, 0
    for position in reversed(range(255)):
        bit = scalar >> position & 1
        if swapped ^ bit:
            x2, z2, x3, z3 = x3, z3, x2, z2
        swapped = bit
        a, b, c, d = x2 + z2, x2 - z2, x3 + z3, x3 - z3
        aa, bb, da, cb = a * a, b * b, d * a, c * b
        e = aa - bb
        x3, z3 = (da + cb)**2 % PRIME, x1 * (da - cb)**2 % PRIME
        x2, z2 = aa * bb % PRIME, e * (aa + 121665 * e) % PRIME
    if swapped:
        x2, z2 = x3, z3
    return (x2 * pow(z2, PRIME - 2, PRIME) % PRIME).to_bytes(32, "little")


def public_of(secret):
    """The public key of a secret one."""
    return x25519(secret, bytes([9]) + bytes(31))


def salsa20_rounds(words):
    """Ten double rounds, without the addition at the end."""
    state = list(words)

    def step(target, first, second, turn):
        total = (state[first] + state[second]) & 0xffffffff
        state[target] ^= (total << turn | total >> 32 - turn) & 0xffffffff

    def quarter(a, b, c, d):
        step(b, a, d, 7)
        step(c, b, a, 9)
        step(d, c, b, 13)
        step(a, d, c, 18)

    for _ in range(10):
        for i in range(4):
            quarter(*((5 * i + 4 * k) % 16 for k in range(4)))
        for i in range(4):
            quarter(*(4 * i + (i + k) % 4 for k in range(4)))
    return state


def salsa20_block(key, tail):
    """The sixteen words that a key of 32 bytes and 16 bytes more make."""
    sigma = struct.unpack("<4I", b"expand 32-byte k")
    k, t = struct.unpack("<8I", key), struct.unpack("<4I", tail)
    return (sigma[0], *k[:4], sigma[1], *t, sigma[2], *k[4:], sigma[3])


def xsalsa20(key, nonce, size):
    """The first bytes of the stream."""
    state = salsa20_rounds(salsa20_block(key, nonce[:16]))
    subkey = struct.pack("<8I", *(state[i] for i in (0, 5, 10, 15, 6, 7, 8, 9)))
    stream = b""
    while len(stream) < size:
        words = salsa20_block(subkey, nonce[16:] + struct.pack("<Q", len(stream) // 64))
        sums = ((a + b) & 0xffffffff for a, b in zip(words, salsa20_rounds(words)))
        stream += struct.pack("<16I", *sums)
    return stream[:size]


def poly1305(key, text):
    """The tag of a text under a key that is used once."""
    r = int.from_bytes(key[:16], "little") & 0x0ffffffc0ffffffc0ffffffc0fffffff
    total = 0
    for place in range(0, len(text), 16):
        block = text[place:place + 16] + b"\1"
        total = (total + int.from_bytes(block, "little")) * r % (2**130 - 5)
    return ((total + int.from_bytes(key[16:], "little")) % 2**128).to_bytes(16, "little")


def secretbox(key, nonce, plain):
    """The tag, then the text."""
    stream = xsalsa20(key, nonce, 32 + len(plain))
    hidden = bytes(a ^ b for a, b in zip(plain, stream[32:]))
    return poly1305(stream[:32], hidden) + hidden


def compare_with_published_examples():
    """RFC 7748, section 6.1, and "Cryptography in NaCl", section 10."""
    alice = bytes.fromhex("77076d0a7318a57d3c16c17251b26645df4c2f87ebc0992ab177fba51db92c2a")
    bob = bytes.fromhex("de9edb7d7b7dc1b4d35b61c2ece435373f8343c85b78674dadfc7e146f882b4f")
    shared = "4a5d9d5ba4ce2de1728e3bf480350f25e07e21c947d19e3376f09b3c1e161742"
    assert x25519(alice, bob).hex() == shared
    key = bytes.fromhex("1b27556473e985d462cd51197a9a46c76009549eac6474f206c4ee0844f68389")
    nonce = bytes.fromhex("69696ee955b62b73cd62bda875fc73d68219e0036b7a0b37")
    plain = bytes.fromhex(
        "be075fc53c81f2d5cf141316ebeb0c7b5228c52a4c62cbd44b66849b64244ffce5ecbaaf33bd751a1ac728d45e"
        "6c61296cdc3c01233561f41db66cce314adb310e3be8250c46f06dceea3a7fa1348057e2f6556ad6b1318a024a"
        "838f21af1fde048977eb48f59ffd4924ca1c60902e52f0a089bc76897040e082f937763848645e0705")
    sealed = (
        "f3ffc7703f9400e52a7dfb4b3d3305d98e993b9f48681273c29650ba32fc76ce48332ea7164d96a4476fb8c531"
        "a1186ac0dfc17c98dce87b4da7f011ec48c97271d2c20f9b928fe2270d6fb863d51738b48eeee314a7cc8ab932"
        "164548e526ae90224368517acfeabd6bb3732bc0e9da99832b61ca01b6de56244a9e88d5f9b37973f622a43d14"
        "a6599b1f654cb45a74e355a5")
    assert secretbox(key, nonce, plain).hex() == sealed


def mac(key, data):
    """HMAC-SHA-512."""
    return hmac.new(key, data, hashlib.sha512).digest()


def hkdf(salt, data):
    """HKDF without info, in three parts."""
    extracted = mac(salt, data)
    first = mac(extracted, b"\1")
    second = mac(extracted, first + b"\2")
    return first, second, mac(extracted, second + b"\3")


def sealed_with(key, number, plain, associated=b""):
    """A text of a handshake (with associated data) or of a connection (without)."""
    if associated:
        key = mac(key, associated)[:32]
    return secretbox(key, bytes(16) + struct.pack("<Q", number), plain)


class State:
    """Chaining key, hash of what was said, and the current key; written down at each step."""

    def __init__(self, prologue):
        self.chaining_key = self.hash = PROTOCOL.ljust(64, b"\0")
        self.key = None
        self.steps = []
        self.mix_hash(prologue)
        self.note("prologue")

    def note(self, step):
        """Adds a step to the vector."""
        self.steps.append({"after": step, "chainingKey": self.chaining_key.hex(),
                           "hash": self.hash.hex(), "key": self.key.hex() if self.key else ""})

    def mix_hash(self, data):
        """What was said."""
        self.hash = hashlib.sha512(self.hash + data).digest()

    def mix_key(self, data):
        """What makes another key."""
        self.chaining_key, derived, _ = hkdf(self.chaining_key, data)
        self.key = derived[:32]

    def mix_psk(self, secret):
        """The secret that both sides have."""
        self.chaining_key, derived, key = hkdf(self.chaining_key, secret)
        self.mix_hash(derived)
        self.key = key[:32]
        self.note("psk")

    def mix_public(self, public, step):
        """A public key."""
        self.mix_hash(public)
        self.mix_key(public)
        self.note(step)

    def seal(self, payload, step):
        """Each key of a handshake seals one payload."""
        sealed = sealed_with(self.key, 0, payload, self.hash)
        self.mix_hash(sealed)
        self.note(step)
        return sealed


def vector(title, kind, phone, secret, ephemerals, payloads, texts):
    """A whole handshake and what follows it."""
    mine, theirs = ephemerals
    prologue = bytes([1, KINDS[kind]]) + phone
    state = State(prologue)
    state.mix_psk(secret)
    state.mix_public(public_of(mine), "e of the phone")
    first = prologue + public_of(mine) + state.seal(payloads[0], "payload of the phone")
    state.mix_public(public_of(theirs), "e of the computer")
    shared = x25519(mine, public_of(theirs))
    assert shared == x25519(theirs, public_of(mine)) != bytes(32)
    state.mix_key(shared)
    state.note("ee")
    second = public_of(theirs) + state.seal(payloads[1], "payload of the computer")
    keys = [derived[:32] for derived in hkdf(state.chaining_key, b"")[:2]]
    numbers, messages = [0, 0], []
    for sender, text in texts:
        sealed = sealed_with(keys[sender], numbers[sender], text)
        messages.append({"from": ("phone", "computer")[sender], "number": numbers[sender],
                         "plain": text.hex(), "sealed": sealed.hex()})
        numbers[sender] += 1
    return {"title": title, "kind": kind, "id": phone.hex(), "secret": secret.hex(),
            "phoneEphemeral": mine.hex(), "phonePublic": public_of(mine).hex(),
            "computerEphemeral": theirs.hex(), "computerPublic": public_of(theirs).hex(),
            "shared": shared.hex(), "payload1": payloads[0].hex(), "message1": first.hex(),
            "payload2": payloads[1].hex(), "message2": second.hex(), "steps": state.steps,
            "keyOfPhone": keys[0].hex(), "keyOfComputer": keys[1].hex(), "messages": messages}


def code_vector(bits):
    """A code as it is shown, and its secret."""
    number = int.from_bytes(bits, "big")
    text = "".join(ALPHABET[number >> 75 - 5 * place & 31] for place in range(16))
    secret = mac(mac(b"", bits), CODE_LABEL + b"\1")[:32]
    return {"bytes": bits.hex(), "text": "-".join(text[place:place + 4] for place in (0, 4, 8, 12)),
            "secret": secret.hex()}


def digest(word):
    """Bytes that look random and are the same at each run."""
    return hashlib.sha512(word.encode()).digest()


def vectors():
    """All of the file."""
    code = code_vector(digest("code")[:10])
    ping, done = b'{"id":2,"request":"ping"}\n', b'{"id":2,"ok":true}\n'
    piece = b'{"body":300,"id":3,"request":"file.put"}\n' + digest("body") * 5
    handshakes = [
        vector("a code", "code", bytes(16), bytes.fromhex(code["secret"]),
               (digest("phone 1")[:32], digest("computer 1")[:32]), (b"{}", b'{"computer":"den"}'),
               [(0, b'{"id":1,"name":"Phone","request":"hello"}\n'), (1, b'{"id":1,"ok":true}\n'),
                (0, ping), (1, done)]),
        vector("a phone that is known", "phone", digest("id")[:16], digest("secret")[:32],
               (digest("phone 2")[:32], digest("computer 2")[:32]),
               (b"{}", '{"computer":"Büro"}'.encode()),
               [(1, b'{"event":"server","state":"ready"}\n'), (0, ping), (0, piece), (1, done),
                (0, b""), (1, bytes(range(256)))]),
        vector("the desk", "desk", bytes(16), digest("desk")[:32],
               (digest("phone 3")[:32], digest("computer 3")[:32]), (b"", b""),
               [(0, ping), (1, done)]),
    ]
    worthless = [0, 1, int("00b8495f16056286fdb1329ceb8d09da6ac49ff1fae35616aeb8413b7c7aebe0", 16),
                 int("57119fd0dd4e22d8868e1c58c45c44045bef839c55b1d0b1248c50a3bc959c5f", 16),
                 PRIME - 1, PRIME, PRIME + 1]
    worthless = [value.to_bytes(32, "little") for value in worthless]
    worthless += [key[:31] + bytes([key[31] | 128]) for key in worthless]
    assert all(x25519(digest("any")[:32], key) == bytes(32) for key in worthless)
    return {"protocol": PROTOCOL.decode(), "codes": [code, code_vector(bytes(10)),
                                                     code_vector(bytes(range(246, 256)))],
            "handshakes": handshakes, "worthlessPublicKeys": [key.hex() for key in worthless]}


def main():
    """Writes or compares."""
    compare_with_published_examples()
    derived = json.dumps(vectors(), indent=1, ensure_ascii=False) + "\n"
    if sys.argv[1:] == ["--write"]:
        FILE.write_text(derived, encoding="utf-8")
    elif FILE.read_text(encoding="utf-8") != derived:
        sys.exit(f"{FILE.name} differs from what the description yields.")
    return 0


if __name__ == "__main__":
    sys.exit(main())
