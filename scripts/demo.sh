#!/usr/bin/env bash
# Usage: demo.sh PROGRAM FILE [NAME]
# Encrypts, signs and sends FILE with the program vrx, step by step, and checks every step. NAME is the
# file's name in the output.
set -euo pipefail
readonly vrx=$1 file=$2 name=${3:-$2}

differs() {
    echo "demo: $*" >&2
    exit 1
}
# Runs a check that must fail with exit code 1. Code 2 would be an error.
refused() {
    local code=0
    "$@" >answer 2>&1 || code=$?
    [[ $code -eq 1 ]] || differs "the change was not noticed"
    sed 's/^/   /' answer
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
size() { stat -c %s -- "$1"; }
start() { od -An -tx1 -N16 -- "$1"; }

echo
echo "1. Make a key: 32 random bytes, in a file that only you can read."
echo "   vrx keygen --out my.key"
"$vrx" keygen --out my.key
[[ $(stat -c %s,%a my.key) == 32,600 ]] || differs "the key file is not as it should be"

echo "2. Encrypt $name, $(size "$file") bytes that begin with"
echo "  $(start "$file")"
echo "   vrx encrypt --key my.key -o secret $name"
"$vrx" encrypt --key my.key -o secret "$file"
echo "   The result is $(size secret) bytes: 8 random bytes to start from, then the ciphertext. It begins with"
echo "  $(start secret)"
[[ $(size secret) -eq $(($(size "$file") + 8)) ]] || differs "the length of the result is wrong"
# A ciphertext of a few bytes may be the plaintext by chance.
[[ $(size "$file") -lt 8 ]] || ! cmp -s -i 8:0 secret "$file" || differs "the result is not encrypted"

echo "3. Authenticate the result under a second key, then look whether it is still the same."
echo "   vrx keygen --out mac.key"
"$vrx" keygen --out mac.key
echo "   vrx mac --key mac.key secret > macs"
"$vrx" mac --key mac.key secret >macs
sed 's/^/   /' macs
echo "   vrx mac --key mac.key --check macs"
"$vrx" mac --key mac.key --check macs >answer || differs "the MAC does not fit"
sed 's/^/   /' answer

echo "4. Decrypt."
echo "   vrx decrypt --key my.key -o again secret"
"$vrx" decrypt --key my.key -o again secret
cmp -- "$file" again || differs "the decrypted file is not $name"
echo "   The file 'again' is $name, byte for byte."

echo "5. Change the last byte of the result, as an attacker might: the MAC tells."
printf '\%03o' $((0x$(tail -c 1 secret | od -An -tx1 | tr -d ' ') ^ 1)) | xargs -0 printf >byte
(head -c -1 secret && cat byte) >changed && mv changed secret
echo "   vrx mac --key mac.key --check macs"
refused "$vrx" mac --key mac.key --check macs

echo "6. Make a key pair, hash $name, which is now called letter, and sign it."
echo "   vrx keypair --curve A --out my.pem; vrx pubkey -o my.pub my.pem"
"$vrx" keypair --curve A --out my.pem
"$vrx" pubkey -o my.pub my.pem
cp -- "$file" letter
echo "   vrx hash letter"
"$vrx" hash letter >sums
sed 's/^/   /' sums
echo "   vrx sign --key my.pem -o letter.sig letter"
"$vrx" sign --key my.pem -o letter.sig letter
echo "   vrx verify --key my.pub --signature letter.sig letter"
"$vrx" verify --key my.pub --signature letter.sig letter >answer || differs "the signature does not verify"
sed 's/^/   /' answer
echo "   One byte more in the letter, and the signature is refused:"
echo >>letter
refused "$vrx" verify --key my.pub --signature letter.sig letter

echo "7. Agree on a key with somebody, who made a key pair too, and send $name encrypted under it."
ukm=$(od -An -tx1 -N8 /dev/urandom | tr -d ' ')
"$vrx" keypair --curve A --out their.pem
"$vrx" pubkey -o their.pub their.pem
echo "   vrx agree --key my.pem --peer their.pub --ukm $ukm --out shared.key"
"$vrx" agree --key my.pem --peer their.pub --ukm "$ukm" --out shared.key
echo "   vrx encrypt --key shared.key -o parcel $name"
"$vrx" encrypt --key shared.key -o parcel "$file"
echo "   At the other end: vrx agree --key their.pem --peer my.pub --ukm $ukm --out same.key"
"$vrx" agree --key their.pem --peer my.pub --ukm "$ukm" --out same.key
cmp -- shared.key same.key || differs "the agreed keys differ"
echo "   vrx decrypt --key same.key -o arrived parcel"
"$vrx" decrypt --key same.key -o arrived parcel
cmp -- "$file" arrived || differs "what arrived is not $name"
echo "   Both keys are the same, and what arrived is $name."
echo
echo "The program is $vrx; '$vrx help' says what else it does."
