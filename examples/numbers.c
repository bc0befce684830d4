/* Computes 3^1000 modulo the prime 2^127 - 1 and prints it in decimal. */
#include <stdio.h>
#include <vrx.h>

int main(void) {
    uint32_t base[4], exponent[4], modulus[4], power[4];
    char text[64];

    mpSetDigit(base, 3, 4);
    mpSetDigit(exponent, 1000, 4);
    mpConvFromHex(modulus, 4, "7fffffffffffffffffffffffffffffff");
    mpModExp(power, base, exponent, modulus, 4);
    mpConvToDecimal(power, 4, text, sizeof text);
    printf("%s\n", text);
    return 0;
}
