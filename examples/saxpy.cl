// y = a * x + y over a buffer: load/store bound.
kernel void saxpy(float a, global const float* x, global float* y) {
    size_t i = get_global_id(0);
    y[i] = a * x[i] + y[i];
}
