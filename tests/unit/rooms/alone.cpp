// A room and what it uses make a program: nothing of it calls what stands above.
int main() {
    return 0;
}
