/* Calls of the multiple-precision arithmetic. */
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "calls.h"

#define N 9

static uint32_t w[2 * N], q[N], r[N];

/* A number of N digits with a small value. */
static const uint32_t* number(uint32_t value) {
    static uint32_t numbers[4][N];
    static int next;
    uint32_t* x = numbers[next++ % 4];
    mpSetDigit(x, value, N);
    return x;
}

static int is(const uint32_t* x, uint32_t value) { return mpShortCmp(x, value, N) == 0; }

static void basic_calls(void) {
    uint32_t p[2] = {0, 0};
    const uint32_t dividend[2] = {7, 1};
    CHECK(mpVersion() == 2205);
    CHECK(strlen(bigdigits_copyright_notice()) > 0);
    CHECK(spMultiply(p, 0x10000, 0x10001) == 0 && p[0] == 0x10000 && p[1] == 1);
    CHECK(spDivide(q, r, dividend, 0x80000000) == 0 && q[0] == 2 && r[0] == 7);
    CHECK(spDivide(q, r, dividend, 1) == -1);
    CHECK(mpAdd(w, number(5), number(7), N) == 0 && is(w, 12));
    CHECK(mpSubtract(w, number(5), number(7), N) == 1 && w[0] == 0xfffffffe);
    CHECK(mpMultiply(w, number(5), number(7), N) == 0 && is(w, 35));
    CHECK(mpSquare(w, number(9), N) == 0 && is(w, 81));
    CHECK(mpEqual(number(5), number(5), N) == 1 && mpEqual(w, w, 0) == -1);
    CHECK(mpCompare(number(5), number(7), N) == -1);
    CHECK(mpIsZero(number(0), N) == 1);
    CHECK(mpSizeof(number(5), N) == 1);
    CHECK(mpBitLength(number(5), N) == 3);
    mpSetEqual(w, number(5), N);
    CHECK(is(w, 5));
    mpSetZero(w, N);
    CHECK(is(w, 0));
    mpSetDigit(w, 6, N);
    CHECK(is(w, 6));
    CHECK(mpShiftLeft(w, number(3), 4, N) == 0 && is(w, 48));
    CHECK(mpShiftRight(w, number(3), 1, N) == 0x80000000 && is(w, 1));
    CHECK(mpSetBit(w, N, 4, 1) == 0 && is(w, 17) && mpGetBit(w, N, 4) == 1 && mpGetBit(w, N, 32 * N) == -1);
    mpModPowerOf2(w, N, 4);
    CHECK(is(w, 1));
    mpXorBits(w, number(5), number(6), N);
    CHECK(is(w, 3));
    mpOrBits(w, number(5), number(6), N);
    CHECK(is(w, 7));
    mpAndBits(w, number(5), number(6), N);
    CHECK(is(w, 4));
    mpNotBits(w, number(0), N);
    CHECK(mpIsNegative(w, N) == 1);
    CHECK(mpChs(w, w, N) == 1 && is(w, 1));
    CHECK(mpAbs(w, w, N) == 0 && is(w, 1));
    CHECK(mpShortAdd(w, number(5), 4, N) == 0 && is(w, 9));
    CHECK(mpShortSub(w, number(5), 4, N) == 0 && is(w, 1));
    CHECK(mpShortMult(w, number(5), 4, N) == 0 && is(w, 20));
    CHECK(mpShortModMult(w, number(5), 4, number(3), N) == 0 && is(w, 20));
    CHECK(mpShortDiv(w, number(23), 4, N) == 3 && is(w, 5));
    CHECK(mpShortMod(number(23), 4, N) == 3);
    CHECK(mpDivide(q, r, number(23), N, number(4), N) == 0 && is(q, 5) && is(r, 3));
}

static void modular_calls(void) {
    CHECK(mpModulo(w, number(23), N, number(4), N) == 0 && is(w, 3));
    CHECK(mpModAdd(w, number(5), number(6), number(7), N) == 0 && is(w, 4));
    CHECK(mpModSub(w, number(5), number(6), number(7), N) == 0 && is(w, 6));
    CHECK(mpModMult(w, number(5), number(6), number(7), N) == 0 && is(w, 2));
    CHECK(mpModInv(w, number(3), number(7), N) == 0 && is(w, 5));
    CHECK(mpModInv(w, number(0), number(7), N) == 1 && is(w, 0));
    CHECK(mpGcd(w, number(12), number(18), N) == 0 && is(w, 6));
    CHECK(mpSqrt(w, number(15), N) == 0 && is(w, 3));
    CHECK(mpJacobi(number(3), number(7), N) == -1);
    CHECK(mpModExp(w, number(3), number(5), number(7), N) == 0 && is(w, 5));
    CHECK(spSimpleRand(5, 5) == 5);
    CHECK(mpRabinMiller(number(1009), N, 5) == 1);
    CHECK(mpIsPrime(number(999), N, 5) == 0);
}

/* Runs a function in a child process; returns its standard output and exit status. */
static int in_child(void (*body)(void), char* text, size_t size) {
    int ends[2], status;
    ssize_t length;
    CHECK(pipe(ends) == 0);
    fflush(NULL);
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        dup2(ends[1], STDERR_FILENO);
        body();
        exit(0);
    }
    close(ends[1]);
    CHECK(waitpid(child, &status, 0) == child);
    length = read(ends[0], text, size - 1);
    CHECK(length >= 0);
    text[length] = 0;
    close(ends[0]);
    return status;
}

static void print_all(void) {
    mpPrint(number(1), 2);
    mpPrintNL(number(2), 2);
    mpPrintTrim(number(3), N);
    mpPrintTrimNL(number(4), N);
}

static void fail(void) { mpFail("the end"); }

static void conversion_calls(void) {
    const uint8_t octets[5] = {1, 2, 3, 4, 5};
    uint8_t back[5];
    char text[200];
    CHECK(mpConvFromOctets(w, N, octets, sizeof octets) == 2);
    CHECK(mpConvToOctets(w, N, back, sizeof back) == 5 && memcmp(back, octets, sizeof back) == 0);
    CHECK(mpConvFromHex(w, N, "0x1F") == 1 && is(w, 31));
    CHECK(mpConvFromDecimal(w, N, "1000") == 1 && is(w, 1000));
    CHECK(mpConvToHex(w, N, text, sizeof text) == 3 && strcmp(text, "3e8") == 0);
    CHECK(mpConvToDecimal(w, N, text, sizeof text) == 4 && strcmp(text, "1000") == 0);
    CHECK(in_child(print_all, text, sizeof text) == 0);
    CHECK(strcmp(text, "00000000 00000001 00000000 00000002 \n00000003 00000004 \n") == 0);
    CHECK(WEXITSTATUS(in_child(fail, text, sizeof text)) == 1 && strncmp(text, "the end: ", 9) == 0);
}

void bigdigits_calls(void) {
    basic_calls();
    modular_calls();
    conversion_calls();
}
