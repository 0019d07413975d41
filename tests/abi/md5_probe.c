/* A program of someone else's: it uses libcrypto's MD5 and knows nothing of liborbafactory.
 * It prints the digest of "abc" and whether MD5_Init laid out libcrypto's context (the chain's
 * first word at the start), which is how a borrowed MD5_Init of another layout shows. */
#include <openssl/md5.h>
#include <stdio.h>

int main(void) {
  MD5_CTX ctx;
  unsigned char digest[MD5_DIGEST_LENGTH];
  MD5_Init(&ctx);
  printf("%s\n", ctx.A == 0x67452301u ? "libcrypto context" : "foreign context");
  MD5_Update(&ctx, "abc", 3);
  MD5_Final(digest, &ctx);
  for (int i = 0; i < MD5_DIGEST_LENGTH; ++i) printf("%02x", digest[i]);
  printf("\n");
  return 0;
}
