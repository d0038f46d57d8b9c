/* The floor for one send at a time: reads each line a host would write and performs one GET
   with a single reused libcurl handle, then writes a fixed reply line. No JSON is read or
   written, so the figure is what the exchange itself costs through a pipe. The GET's bytes are
   the server's own for a one-off GET, so that the peer has the same request to read.
   Usage: send-floor <url> */
#include <curl/curl.h>
#include <stdio.h>

static size_t discard(char *data, size_t size, size_t count, void *unused) {
    (void)data;
    (void)unused;
    return size * count;
}

int main(int argc, char **argv) {
    static char line[1 << 16];
    CURL *handle = curl_easy_init();
    if (argc < 2 || handle == NULL) return 1;
    curl_easy_setopt(handle, CURLOPT_URL, argv[1]);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, discard);
    curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "");
    struct curl_slist *headers = curl_slist_append(NULL, "User-Agent: Tessaline/1.0");
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, headers);
    while (fgets(line, sizeof line, stdin)) {
        curl_easy_perform(handle);
        puts("{\"id\":1,\"jsonrpc\":\"2.0\",\"result\":{}}");
        fflush(stdout);
    }
    curl_easy_cleanup(handle);
    curl_slist_free_all(headers);
    return 0;
}
