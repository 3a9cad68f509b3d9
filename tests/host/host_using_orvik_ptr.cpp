// A program that asks for a component as module code does. It must not
// compile: programs obtain components through AppHost.
#include "orvik/bootstrap/orvik_ptr.h"
#include "orvik/host/app_host.h"

int main()
{
    Orvik::TOrvikPtr<Orvik::IComponent, 1> component;
    return component ? 0 : 1;
}
