// A library that nobody needs. Copies of it stand under the names of others.
extern "C" void Bystander() {}
